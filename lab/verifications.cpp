#include "verifications.h"

#include <algorithm>
#include <utility>

namespace kov_lab
{
namespace
{

constexpr std::size_t most_rows = 1024;

} // namespace

void Verifications::add(Verification row)
{
    if (all_.size() == most_rows)
        all_.pop_front();
    all_.push_back(std::move(row));
}

void Verifications::ask(Verification wish)
{
    ++asked_;
    const auto known = std::find_if(all_.begin(), all_.end(), [&](const Verification &row) {
        return row.host == wish.host && row.vrf == wish.vrf;
    });
    if (known != all_.end()) {
        wish.place = std::move(known->place);
        wish.found_by = std::move(known->found_by);
        all_.erase(known);
    }
    add(std::move(wish));
}

void Verifications::found(const std::string &host, const std::string &place, const std::string &client)
{
    ++found_;
    const auto rows = std::stable_partition(all_.begin(), all_.end(),
                                            [&](const Verification &row) { return row.host != host; });
    if (rows == all_.end())
        return add({host, {}, {}, {}, true, place, client});
    for (auto row = rows; row != all_.end(); ++row) {
        row->answered = true;
        row->place = place;
        row->found_by = client;
    }
}

} // namespace kov_lab
