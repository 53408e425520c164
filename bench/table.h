// The medians of a run as one table: a line for each thing measured, a column for each size, and beside each
// time how many times as long as the bare thing it took.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kov_bench
{

struct Line {
    std::string text;
    std::string bare; // the text of the line it is compared with; empty: it is bare itself
};

class Table : public benchmark::BenchmarkReporter
{
public:
    Table(std::vector<Line> lines, std::vector<std::uint32_t> sizes)
        : lines_(std::move(lines)), sizes_(std::move(sizes))
    {
    }

    static std::string name(const std::string &text, std::uint32_t size)
    {
        return text + "/" + std::to_string(size);
    }

    bool ReportContext(const Context &) override { return true; }
    void ReportRuns(const std::vector<Run> &runs) override;
    void Finalize() override;

private:
    void print(const Line &line) const;

    std::vector<Line> lines_;
    std::vector<std::uint32_t> sizes_;
    std::map<std::string, double> medians_; // nanoseconds for one of what the line counts
};

// Says that one iteration did so many of what the line counts.
void count_items(benchmark::State &state, std::uint32_t items);

} // namespace kov_bench
