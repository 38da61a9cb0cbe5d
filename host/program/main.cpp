/**
 * @file
 * The program `mcadapt`: a whole unit on a PC, run over captures.
 *
 * Exit codes: 0 done; 1 an input cannot be used, an output not be written, or an operation that is checked was
 * refused; 2 wrong usage.
 */
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "host/program/check.h"
#include "host/program/explanation.h"
#include "host/program/fanout.h"
#include "host/program/json_lines.h"
#include "host/program/print.h"
#include "host/program/replay.h"
#include "host/program/statistics.h"
#include "host/program/summary.h"
#include "host/program/timeline.h"
#include "host/switch/capture_writer.h"

namespace mcadapt::host {

namespace {

constexpr int kDone = 0;
constexpr int kUnusable = 1;
constexpr int kWrongUsage = 2;

// A bar is worth its lines only for captures that take a moment.
constexpr uint64_t kBytesWorthABar = 16 << 20;

struct ReplayRequest {
    std::vector<std::string> user_captures;
    std::vector<std::string> uplink_captures;
    std::vector<std::string> both_captures;
    std::string uplink_filter;
    std::string unit;
    std::string out;
    double tail_seconds = 5;
    uint64_t frame = 0;
    bool json = false;
    bool quiet = false;
    bool trace = false;
};

void open_captures(const ReplayRequest &request, CaptureReader &captures)
{
    for (const std::string &file : request.user_captures)
        captures.add(file, kUserPort);
    for (const std::string &file : request.uplink_captures)
        captures.add(file, kUplinkPort);
    for (const std::string &file : request.both_captures)
        captures.add_both_sides(file, kUserPort, request.uplink_filter);
}

void show_progress(uint64_t read, uint64_t total)
{
    constexpr int kWidth = 40;
    const int filled = total == 0 ? kWidth : static_cast<int>(read * kWidth / total);
    print(stderr, "\r[{:#<{}}{:{}}] {:3} %", "", filled, "", kWidth - filled, total == 0 ? 100 : read * 100 / total);
}

std::unique_ptr<FrameSink> make_sink(const ReplayRequest &request, const ReplayClock &clock,
                                     const UnitSettings &settings)
{
    if (request.out.empty())
        return std::make_unique<NoCapture>();
    std::error_code error;
    std::filesystem::create_directories(request.out, error);
    if (error)
        throw CaptureError(fmt::format("{}: {}", request.out, error.message()));
    std::vector<uint32_t> ports = settings.more_ports;
    ports.push_back(kUserPort);
    ports.push_back(kUplinkPort);
    return std::make_unique<CaptureWriter>(clock, request.out, ports);
}

ReplayOptions options_of(const ReplayRequest &request, uint64_t capture_bytes)
{
    ReplayOptions options;
    options.tail = std::chrono::duration_cast<Duration>(std::chrono::duration<double>(request.tail_seconds));
    options.library_log = request.trace;
    options.only_frame = request.frame;
    if (isatty(STDERR_FILENO) != 0 && capture_bytes > kBytesWorthABar)
        options.progress = show_progress;
    return options;
}

// Everything that watches a run, and prints what was asked for.
struct Watchers {
    Watchers(const ReplayRequest &request, const ReplayClock &clock, std::FILE *out)
        : statistics(clock), timeline(clock, out), json(clock, out), explanation(request.frame, clock, out)
    {
        all.add(statistics);
        if (request.frame != 0)
            all.add(explanation);
        else if (!request.quiet && request.json)
            all.add(json);
        else if (!request.quiet)
            all.add(timeline);
    }

    Statistics statistics;
    Timeline timeline;
    JsonLines json;
    Explanation explanation;
    Fanout all;
};

int finish_explanation(const Replay &run, Watchers &watchers, uint64_t frame)
{
    if (watchers.explanation.found()) {
        watchers.explanation.finish();
        return kDone;
    }
    print(stderr, "mcadapt: frame {}: the captures hold {} frames\n", frame, run.frames());
    return kUnusable;
}

int finish_replay(const Replay &run, Watchers &watchers, const ReplayRequest &request, std::FILE *out)
{
    if (request.frame != 0)
        return finish_explanation(run, watchers, request.frame);
    const bool printed = watchers.timeline.finish();
    if (request.json) {
        print_json_summary(run, watchers.statistics, out);
        return kDone;
    }
    if (printed)
        print(out, "\n");
    print_summary(run, watchers.statistics, out);
    return kDone;
}

// What was read of captures that end too early is shown all the same. @return The error; empty for none.
std::string run_to_end(Replay &run)
{
    try {
        run.run();
        return "";
    } catch (const CaptureError &error) {
        return error.what();
    }
}

int replay(const ReplayRequest &request)
{
    const UnitConfig config = request.unit.empty() ? UnitConfig() : read_unit_config(request.unit);
    CaptureReader captures;
    open_captures(request, captures);

    ReplayClock clock;
    const std::unique_ptr<FrameSink> sink = make_sink(request, clock, config.settings);
    std::FILE *const out = stdout; // the library's output is taken while it runs; ours goes on
    Watchers watchers(request, clock, out);
    const ReplayOptions options = options_of(request, captures.total_bytes());
    Replay run(config, captures, *sink, clock, watchers.all, options);
    const std::string error = run_to_end(run);
    if (auto *writer = dynamic_cast<CaptureWriter *>(sink.get()))
        writer->flush();
    if (options.progress)
        print(stderr, "\r{:50}\r", "");
    const int result = finish_replay(run, watchers, request, out);
    if (error.empty())
        return result;
    std::fflush(out);
    throw CaptureError(error);
}

int list_operations()
{
    for (const Operation &operation : operations()) {
        print(stdout, "{}\n    {}\n", operation.name, operation.help);
        for (const Argument &argument : operation.arguments) {
            const std::string otherwise =
                argument.otherwise == nullptr ? "" : fmt::format("; {} when left out", argument.otherwise);
            print(stdout, "    {:<28} {}: {}{}\n", argument.name, argument.help, kind_text(argument.kind), otherwise);
        }
    }
    return kDone;
}

// A file to an option: the next word may be something else.
CLI::Option *add_files(CLI::App &command, const char *name, std::vector<std::string> &files, const char *help)
{
    return command.add_option(name, files, help)->allow_extra_args(false)->type_name("FILE");
}

void add_capture_options(CLI::App &command, ReplayRequest &request)
{
    add_files(command, "--port0", request.user_captures,
              "Capture of the user port, pcap or pcapng; may be given several times, as may the next two");
    add_files(command, "--uplink", request.uplink_captures, "Capture of the uplink");
    auto *both = add_files(command, "--both", request.both_captures, "Capture of both sides in one file");
    auto *filter = command
                       .add_option("--uplink-filter", request.uplink_filter,
                                   "Filter expression that tells the uplink's frames of --both files")
                       ->type_name("EXPR");
    both->needs(filter);
    filter->needs(both);
    command.add_option("--unit", request.unit, "Configuration of the unit; a GPON unit without rules if left out")
        ->type_name("FILE");
    command.add_option("--tail", request.tail_seconds, "Seconds that go on after the last frame or operation (5)")
        ->check(CLI::Range(0.0, 1e6))
        ->type_name("SECONDS");
}

CLI::App *add_replay(CLI::App &app, ReplayRequest &request)
{
    CLI::App *command = app.add_subcommand("replay", "Show what a unit does with captures");
    add_capture_options(*command, request);
    command->add_option("--out", request.out, "Directory for a capture of what leaves each port")->type_name("DIR");
    auto *frame = command->add_option("--frame", request.frame, "Explain this frame only, counted from 1")
                      ->check(CLI::PositiveNumber)
                      ->type_name("N");
    auto *json = command->add_flag("--json", request.json, "Print JSON lines");
    auto *quiet = command->add_flag("--quiet", request.quiet, "Print only the tables at the end");
    auto *trace = command->add_flag("--trace", request.trace, "Print the library's own log beside the timeline");
    frame->excludes(json)->excludes(quiet)->excludes(trace);
    quiet->excludes(trace);
    return command;
}

CLI::App *add_explain(CLI::App &app, ReplayRequest &request)
{
    CLI::App *command = app.add_subcommand("explain", "Tell what happened to one frame, and why");
    command->add_option("frame", request.frame, "The frame, counted from 1 over all captures in the order of time")
        ->required()
        ->check(CLI::PositiveNumber)
        ->type_name("N");
    add_capture_options(*command, request);
    return command;
}

// A full disk or a closed pipe behind the output is an error as good as any.
int flushed(int result)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return result;
    print(stderr, "mcadapt: standard output: cannot be written\n");
    return kUnusable;
}

int run_command(int argc, char **argv)
{
    CLI::App app("A whole multicast adaptation unit on a PC, run over captures.", "mcadapt");
    app.set_version_flag("--version", "mcadapt " MCADAPT_VERSION);
    app.footer("Exit codes: 0 done; 1 an input cannot be used, an output not be written, or an operation that is\n"
               "checked was refused; 2 wrong usage. 'mcadapt COMMAND --help' tells a command's options.");
    app.require_subcommand(1);
    ReplayRequest request;
    add_replay(app, request);
    add_explain(app, request);
    CLI::App *check_command = app.add_subcommand("check", "Validate a configuration and show the rules it makes");
    check_command->add_option("unit", request.unit, "Configuration of the unit")->required()->type_name("FILE");
    CLI::App *ops_command = app.add_subcommand("ops", "List the operations a configuration can use");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? kDone : kWrongUsage;
    }
    if (*ops_command)
        return list_operations();
    if (*check_command)
        return check_unit(request.unit, stdout) == 0 ? kDone : kUnusable;
    if (request.user_captures.empty() && request.uplink_captures.empty() && request.both_captures.empty()) {
        print(stderr, "mcadapt: no capture given: expected --port0, --uplink or --both\n");
        return kWrongUsage;
    }
    return replay(request);
}

} // namespace

} // namespace mcadapt::host

int main(int argc, char **argv)
{
    try {
        return mcadapt::host::flushed(mcadapt::host::run_command(argc, argv));
    } catch (const std::exception &error) {
        std::fflush(stdout); // what was shown comes before the error
        mcadapt::host::print(stderr, "mcadapt: {}\n", error.what());
        return mcadapt::host::kUnusable;
    }
}
