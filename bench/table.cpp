#include "table.h"

#include <cstdio>
#include <unistd.h>

namespace kov_bench
{
namespace
{

constexpr const char *items_counter = "items";

} // namespace

void count_items(benchmark::State &state, std::uint32_t items) { state.counters[items_counter] = items; }

void Table::ReportRuns(const std::vector<Run> &runs)
{
    for (const Run &run : runs) {
        if (run.aggregate_name != "median")
            continue;
        const auto items = run.counters.find(items_counter);
        const double each = items == run.counters.end() ? 1 : items->second.value;
        medians_[run.run_name.function_name] = run.GetAdjustedCPUTime() / each;
        if (::isatty(STDERR_FILENO) != 0)
            std::fprintf(stderr, "\r\033[K%s", run.run_name.function_name.c_str());
    }
}

void Table::Finalize()
{
    if (::isatty(STDERR_FILENO) != 0)
        std::fputs("\r\033[K", stderr);
    std::printf("%-52s", "median ns, and times the bare line above, at");
    for (const std::uint32_t size : sizes_)
        std::printf("%10u records", size);
    std::puts("");
    for (const Line &line : lines_)
        print(line);
}

void Table::print(const Line &line) const
{
    if (line.bare.empty())
        std::puts("");
    std::printf("%-52s", line.text.c_str());
    for (const std::uint32_t size : sizes_) {
        const auto at = medians_.find(name(line.text, size));
        const auto bare = medians_.find(name(line.bare, size));
        if (at == medians_.end())
            std::printf("%18s", "-");
        else if (bare == medians_.end())
            std::printf("%10.1f        ", at->second);
        else
            std::printf("%10.1f  x%-5.1f", at->second, at->second / bare->second);
    }
    std::puts("");
}

} // namespace kov_bench
