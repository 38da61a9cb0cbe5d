#include <benchmark/benchmark.h>

#include <vector>

#include "cases.h"
#include "report.h"

int main(int argc, char **argv)
{
    // Repetitions of all cases are mixed, so that a busy spell of the machine does not fall on one case alone.
    char mixed[] = "--benchmark_enable_random_interleaving=true";
    std::vector<char *> args = {argv[0], mixed};
    args.insert(args.end(), argv + 1, argv + argc);
    args.push_back(nullptr);
    int count = argc + 1;

    mcadapt::bench::TableReporter table(mcadapt::bench::register_cases());
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data()))
        return 1;
    benchmark::RunSpecifiedBenchmarks(&table);
    return 0;
}
