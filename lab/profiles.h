// The hosts whose profile the server has applied, each in a stored record of its own. They survive the
// server: the records are in the file kov_profile_info of the runtime directory, and are read when it starts.
//
// A host is known by the client that named it and by the bytes with which that did: the client's name, since
// a client that starts again is the same one.
#pragma once

#include <kov/kov_profile.h>
#include <rdb_store.h>

#include <compare>
#include <map>
#include <memory>
#include <string>

namespace kov_lab
{

struct HostId {
    std::string client;
    std::string host;

    auto operator<=>(const HostId &) const = default;
};

struct HostProfile {
    std::uint32_t number = 0; // of its record
    kov_uhost_key_t key{};    // as the client sent it
};

using HostProfiles = std::map<HostId, HostProfile>;

class Profiles
{
public:
    // Opens DIR/kov_profile_info and reads it. A damaged file is an error unless `replace`, which removes it
    // first and so forgets every host. Null: `why` says why.
    static std::unique_ptr<Profiles> open(const std::string &dir, bool replace, std::string &why);

    // Keep a host, or replace what was kept of it; forget one, which may be unknown. The file first, memory
    // after it. False: `why` says why, and nothing has changed.
    bool keep(const std::string &client, const kov_uhost_key_t &key, std::string &why);
    bool forget(const HostId &id, std::string &why);

    // Null for a host that is not kept.
    const kov_uhost_key_t *find(const HostId &id) const;
    const HostProfiles &all() const { return all_; }

private:
    explicit Profiles(std::unique_ptr<kov_host::RdbStore> store) : store_(std::move(store)) {}
    bool load(const std::string &path, std::string &why);
    bool take(std::uint32_t number, const void *tlv, std::uint32_t size);

    std::unique_ptr<kov_host::RdbStore> store_;
    HostProfiles all_;
    std::uint32_t last_number_ = 0;
};

} // namespace kov_lab
