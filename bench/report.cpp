#include "report.h"

#include <algorithm>
#include <cstdio>

namespace mcadapt::bench {

std::string library_name(const std::string &title) { return title + "/library"; }
std::string floor_name(const std::string &title) { return title + "/floor"; }

bool TableReporter::ReportContext(const Context &context)
{
    PrintBasicContext(&GetErrorStream(), context);
    return true;
}

void TableReporter::ReportRuns(const std::vector<Run> &runs)
{
    for (const Run &run : runs) {
        if (run.error_occurred)
            fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
        else if (run.run_type == Run::RT_Iteration)
            ns_[run.run_name.function_name].push_back(run.GetAdjustedCPUTime());
    }
}

double TableReporter::median_ns(const std::string &name) const
{
    const auto found = ns_.find(name);
    if (found == ns_.end())
        return 0;
    std::vector<double> values = found->second;
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

void TableReporter::Finalize()
{
    printf("| case | ns | floor ns | ratio |\n|---|---:|---:|---:|\n");
    for (const std::string &title : titles_) {
        const double library = median_ns(library_name(title));
        const double floor = median_ns(floor_name(title));
        if (library > 0 && floor > 0)
            printf("| %s | %.1f | %.1f | %.2f |\n", title.c_str(), library, floor, library / floor);
    }
}

} // namespace mcadapt::bench
