#include "support/observe.h"

#include <cstdlib>
#include <stdexcept>

namespace mcadapt::test {

namespace {

Watch *current = nullptr;
std::FILE *const process_output = stdout;

} // namespace

Watch::Watch() : before_(RecordSnapshot::take()), outer_(current), outer_output_(stdout)
{
    std::fflush(stdout);
    capture_ = open_memstream(&text_, &length_);
    if (capture_ == nullptr)
        throw std::runtime_error("no memory stream");
    stdout = capture_;
    current = this;
}

Watch::~Watch()
{
    end_capture();
    std::free(text_);
}

void Watch::end_capture()
{
    if (capture_ == nullptr)
        return;
    stdout = outer_output_;
    current = outer_;
    std::fclose(capture_);
    capture_ = nullptr;
}

Observation Watch::finish()
{
    end_capture();
    Observation seen;
    seen.output.assign(text_, length_);
    std::size_t done = 0;
    for (std::size_t i = 0; i < calls_.size(); ++i) {
        seen.trace.append(seen.output, done, offsets_[i] - done);
        seen.trace += "<" + calls_[i] + ">\n";
        done = offsets_[i];
    }
    seen.trace.append(seen.output, done);
    seen.calls = std::move(calls_);
    seen.changed = changed_fields(before_, RecordSnapshot::take());
    return seen;
}

void note_call(const std::string &line)
{
    for (Watch *watch = current; watch != nullptr; watch = watch->outer_) {
        std::fflush(watch->capture_);
        watch->offsets_.push_back(watch->length_);
        watch->calls_.push_back(line);
    }
}

RealOutput::RealOutput() : captured_(stdout) { stdout = process_output; }

RealOutput::~RealOutput()
{
    std::fflush(stdout);
    stdout = captured_;
}

} // namespace mcadapt::test
