// The lab's KOV server: takes what clients send, and changes what is published.
//
// Received frames are believed only as far as the kernel confirms them: a request that names another process
// than the one that sent it is logged and refused. Changes go to the database, then to the clients that want
// to know. The operator's commands (server_commands.h) are thin wrappers over the calls here.
#pragma once

#include "clients.h"
#include "frames.h"
#include "profiles.h"
#include "publisher.h"
#include "settings.h"
#include "verifications.h"

#include <kov/platform/ipc.h>

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace kov_lab
{

class Server
{
public:
    Server(std::unique_ptr<Publisher> publisher, std::unique_ptr<Profiles> profiles)
        : publisher_(std::move(publisher)), profiles_(std::move(profiles)),
          profile_code_(published().profile_code)
    {
    }

    void receive(const ipc_message *msg);

    // A change that an operator asks for: "FIELD=VALUE" each, all of them or none. "as=TYPE" among them
    // forces the type of the message. True: `text` says what changed and who was told; false: what is wrong.
    bool set_geninfo(Settings settings, std::string &text);
    bool set_svi(std::string_view name, Settings settings, std::string &text);
    bool set_topology(std::string_view name, Settings settings, std::string &text);
    bool set_port(std::string_view name, Settings settings, std::string &text);
    bool set_prefix(std::string_view vrf, std::string_view network, std::string &text);
    bool del_geninfo(std::string &text);
    bool del_svi(std::string_view name, std::string &text);
    bool del_topology(std::string_view name, std::string &text);
    bool del_port(std::string_view name, std::string &text);
    bool del_prefix(std::string_view vrf, std::string_view network, std::string &text);

    // Has a client check a host that it has a profile for; or forgets the host and has the client clear it,
    // with a code from 41 to 47 as the reason.
    bool check_host(std::string_view client, std::string_view host, std::string &text);
    bool clear_host(std::string_view client, std::string_view host, std::string_view code, std::string &text);
    // What requests about profiles are answered with from now on; and now.
    bool set_profile_code(std::string_view code, std::string &text);
    std::string profile_code_text() const;

    // Has a client verify where a host is.
    bool verify_host(std::string_view client, std::string_view host, std::string &text);

    // Sends the bytes as they are, to a client's name or to any access point. False: `text` says why.
    bool inject(std::string_view target, std::string_view hex, std::uint32_t opcode, std::string &text);

    const Scenario &published() const { return publisher_->state(); }
    const HostProfiles &profiles() const { return profiles_->all(); }
    const Clients &clients() const { return clients_; }
    const Verifications &verifications() const { return verifications_; }
    std::uint64_t frames_received() const { return frames_received_; }
    std::uint64_t frames_refused() const { return frames_refused_; }
    std::uint64_t gleans() const { return gleans_; }

private:
    void take_registration(const ipc_message *msg, const kov_registration_request &request);
    void take_deregistration(const ipc_message *msg, const kov_registration_request &request);
    void take_profile_request(const ipc_message *msg, std::span<const std::uint8_t> payload);
    void answer_request(const Client &client, const kov_uhost_key_t &key);
    bool carry_out(const std::string &client, const kov_uhost_key_t &key, std::string &why);
    std::uint32_t code_for(const std::string &client, const kov_uhost_key_t &key) const;
    kov_profile_reply reply_about(const std::string &client, const kov_uhost_key_t &key,
                                  std::uint32_t code) const;
    // A client that listens, and its host that the server keeps; or `why` not.
    struct KnownHost {
        const Client *client;
        kov_uhost_key_t key;
    };
    std::optional<KnownHost> known_host(std::string_view client, std::string_view host,
                                        std::string &why) const;
    void tell_host(const Client &client, kov_uhost_key_t key, kov_profile_op op, std::uint32_t code);
    // Clears the hosts that stand on a VLAN or a VNI which no record has any more. "; cleared 2 hosts", or
    // nothing when there are none.
    std::string clear_hosts_of_vlan(std::uint32_t vlan, std::uint32_t code);
    std::string clear_hosts_of_vni(std::uint32_t vni, std::uint32_t code);
    std::string clear_hosts(std::uint32_t code,
                            const std::function<bool(const kov_profile_options_t &options)> &stands_on_it);
    bool forget_and_clear(const HostId &host, std::uint32_t code, std::string &why);
    void take_notice(const ipc_message *msg, std::span<const std::uint8_t> payload);
    void take_verify_request(const ipc_message *msg, const VerifyRequest &request);
    void have_checked(const Client &client, const std::string &host);
    std::string sender_of(const ipc_message *msg) const;
    void refuse(const ipc_message *msg, const std::string &why);
    bool believable(const ipc_message *msg, const kov_registration_request &request);
    // A frame under a client's SAP may come from another process. It is refused here.
    bool is_from(const Client &client, const ipc_message *msg);
    // "; told 2 clients by type 9"
    std::string announce(const std::vector<Notice> &notices);
    // Publishes, tells, and adds to `text` who was told; or has why not in `text`.
    bool change(const std::vector<Edit> &edits, const std::vector<Notice> &notices, std::string &text);
    std::optional<Prefix> parse_prefix(std::string_view vrf, std::string_view network,
                                       std::string &why) const;
    // The records of SVIs as they are when the topology has become `now`; only those that it changes.
    std::vector<kov_rdb_sviinfo_t> svis_changed_by(const kov_rdb_l2rib_topo_info_t &before,
                                                   const kov_rdb_l2rib_topo_info_t &now) const;
    bool change_topology(const kov_rdb_l2rib_topo_info_t &before, const kov_rdb_l2rib_topo_info_t &now,
                         Edit edit, std::string &text);
    bool change_port(std::uint32_t port, const PortBits &before, const PortBits &now, std::uint32_t as,
                     std::string &text);

    std::unique_ptr<Publisher> publisher_;
    std::unique_ptr<Profiles> profiles_;
    std::uint32_t profile_code_;
    Clients clients_;
    Verifications verifications_;
    std::uint64_t frames_received_ = 0;
    std::uint64_t frames_refused_ = 0;
    std::uint64_t gleans_ = 0;
};

} // namespace kov_lab
