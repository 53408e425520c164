// What the server publishes: its state in memory, and the same state in the shared database.
//
// A change reaches the database first, in one committed transaction, and the state after that; so when a
// client hears of a change, what it reads is new. A change that the database refuses changes nothing. Calls
// return false with `why`.
#pragma once

#include "announce.h"
#include "scenario.h"

#include <rdb_store.h>

#include <memory>
#include <optional>
#include <string>

namespace kov_lab
{

class Publisher
{
public:
    // Opens DIR/kov_rdb_info. A damaged file is an error unless `replace`, which removes it first.
    static std::unique_ptr<Publisher> open(const std::string &dir, bool replace, std::string &why);

    // Makes the database hold the scenario and nothing else.
    bool publish(const Scenario &scenario, std::string &why);
    bool put(const kov_rdb_geninfo_t &record, std::string &why);
    bool put(const kov_rdb_sviinfo_t &record, std::string &why);
    bool erase_general(std::string &why);
    bool erase_svi(std::uint32_t ifindex, std::string &why);

    const std::optional<kov_rdb_geninfo_t> &general() const { return general_; }
    const Svis &svis() const { return svis_; }

private:
    explicit Publisher(std::unique_ptr<kov_host::RdbStore> store) : store_(std::move(store)) {}
    template <typename Change>
    bool commit(Change change, std::string &why);
    bool store(const kov_rdb_geninfo_t &record);
    bool store(const kov_rdb_sviinfo_t &record);

    std::unique_ptr<kov_host::RdbStore> store_;
    std::optional<kov_rdb_geninfo_t> general_;
    Svis svis_;
};

} // namespace kov_lab
