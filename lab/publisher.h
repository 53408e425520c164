// What the server publishes: its state in memory, and the same state in the shared database.
//
// A change is a list of edits, one for each record. It reaches the database first, in one committed
// transaction, and the state after that; so when a client hears of a change, what it reads is new. A change
// that the database refuses changes nothing.
#pragma once

#include "messages.h"
#include "scenario.h"

#include <rdb_store.h>

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace kov_lab
{

// One record in the database, and the same in memory.
struct Edit {
    kov_rdb_key key;
    std::optional<Bytes> tlv; // the record's stored form; nothing: erase it
    std::function<void(Scenario &state)> apply;
};

Edit put(const kov_rdb_geninfo_t &record);
Edit put(const kov_rdb_sviinfo_t &record);
Edit put(const kov_rdb_l2rib_topo_info_t &record);
Edit put(const Prefix &prefix);
// An empty slot has no record.
Edit put_tracking(std::uint8_t slot, const SlotPorts &ports);
Edit put_l2dci(std::uint8_t slot, const SlotPorts &ports);

Edit erase_general();
Edit erase_svi(std::uint32_t ifindex);
Edit erase_topology(std::uint32_t bd);
Edit erase(const Prefix &prefix);

class Publisher
{
public:
    // Opens DIR/kov_rdb_info. A damaged file is an error unless `replace`, which removes it first.
    static std::unique_ptr<Publisher> open(const std::string &dir, bool replace, std::string &why);

    // Makes the database hold the scenario and nothing else. False: `why` says why not, here and below.
    bool publish(const Scenario &scenario, std::string &why);
    bool change(std::span<const Edit> edits, std::string &why);

    const Scenario &state() const { return state_; }

private:
    explicit Publisher(std::unique_ptr<kov_host::RdbStore> store) : store_(std::move(store)) {}
    bool commit(std::span<const Edit> edits, bool afresh, std::string &why);
    bool store(const Edit &edit);

    std::unique_ptr<kov_host::RdbStore> store_;
    Scenario state_;
};

} // namespace kov_lab
