/**
 * @file
 * The table at the end of a run: each case beside its floor, from the medians of the repetitions.
 */
#ifndef MCADAPT_BENCH_REPORT_H
#define MCADAPT_BENCH_REPORT_H

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace mcadapt::bench {

/** Names the two measurements of a case; the table pairs them. */
std::string library_name(const std::string &title);
std::string floor_name(const std::string &title);

class TableReporter : public ::benchmark::BenchmarkReporter {
public:
    explicit TableReporter(std::vector<std::string> titles) : titles_(std::move(titles)) {}

    bool ReportContext(const Context &context) override;
    void ReportRuns(const std::vector<Run> &runs) override;
    void Finalize() override;

private:
    double median_ns(const std::string &name) const;

    std::vector<std::string> titles_;
    std::map<std::string, std::vector<double>> ns_; // per measurement, one value per repetition
};

} // namespace mcadapt::bench

#endif
