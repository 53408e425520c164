// The fabric that is measured: a runtime directory with a database in it, a client process that is this one,
// and a server that is this one too.
//
// One at a time: the library has one context and the process one attachment.
#pragma once

#include <kov/kov_api.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace kov_bench
{

using Bytes = std::vector<std::uint8_t>;

// A host in one of the VRFs. An aggregate subnet prefix of that VRF covers it: the `place`-th, from 1.
struct Destination {
    std::uint32_t vrf; // from 0
    std::uint32_t place;
    char vrf_name[KOV_VRF_NAME_SIZE];
    std::uint8_t prefix[20];
};

class Fabric
{
public:
    // Publishes `records` SVIs (65536 at most), as many aggregate subnet prefixes, 16 a VRF, and every slot's
    // ports.
    explicit Fabric(std::uint32_t records);
    ~Fabric();
    Fabric(const Fabric &) = delete;
    Fabric &operator=(const Fabric &) = delete;

    // From here on the client is registered for these message types, acknowledged, and its cache filled.
    // Answers to other types come from the database.
    void register_for(const std::vector<std::uint32_t> &mtypes);

    // Has a message of the server delivered, and runs `take` while it holds.
    void with_message(const Bytes &payload, const std::function<void(const ipc_message *)> &take);

    const std::string &database() const { return database_; }

    // The questions, in an order of no pattern, and their answers.
    const std::vector<std::uint32_t> &svis() const { return svis_; }
    static std::uint32_t mode_of(std::uint32_t svi);
    const std::vector<std::uint32_t> &ports() const { return ports_; }
    static std::uint32_t tracking_of(std::uint32_t port);

    static constexpr std::uint32_t slots = 255; // a record key has one byte for them
    static std::uint32_t slot_of(std::uint32_t port);

    const std::vector<Destination> &destinations() const { return destinations_; }
    static constexpr std::uint32_t prefixes_a_vrf = 16;

private:
    void publish();

    std::string dir_;
    std::string database_;
    std::vector<std::uint32_t> svis_;
    std::vector<std::uint32_t> ports_;
    std::vector<Destination> destinations_;
    std::int32_t server_ = 0;
    std::vector<std::uint32_t> registered_;
};

// A message in network order with one record of the given bytes.
Bytes message(std::uint16_t mtype, const Bytes &record);

} // namespace kov_bench
