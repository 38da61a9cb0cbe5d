// The good port as the check's own program finds it: ready from the start, and with a way to be fed.
#include "port.h"

using namespace mcadapt::test;

namespace {

const bool ready = (use_good_port(), true);

} // namespace

extern "C" int32_t portcheck_feed(const uint8_t *frame, uint32_t length, uint8_t in_port);

int32_t portcheck_feed(const uint8_t *frame, uint32_t length, uint8_t in_port)
{
    const std::lock_guard<std::mutex> lock(good().lock);
    good().frames.push_back({{frame, frame + length}, in_port});
    return ready ? 0 : -1;
}
