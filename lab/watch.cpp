#include "watch.h"

#include "client_commands.h"
#include "message_json.h"
#include "message_types.h"
#include "messages.h"
#include "profile_messages.h"
#include "reply.h"
#include "session.h"

#include <kov/kov_api.h>
#include <kov/platform/ipc.h>
#include <kov_host.h>

#include <array>
#include <cstdio>
#include <exception>
#include <string_view>
#include <unistd.h>

namespace kov_lab
{
namespace
{

std::uint32_t wanted = 0;
std::uint32_t printed = 0;
bool as_json = false;

std::string one_line(const Json &value) { return value.dump(-1, ' ', true, Json::error_handler_t::replace); }

std::string line_of(const kov_client_msg &msg)
{
    try {
        return as_json ? one_line(message_json(msg)) : kov_lab_message_text(&msg);
    } catch (const std::exception &) {
        return as_json ? "{}" : ""; // out of memory
    }
}

void print_line(std::string_view line)
{
    if (wanted != 0 && printed == wanted)
        return;
    std::printf("%.*s\n", static_cast<int>(line.size()), line.data());
    std::fflush(stdout);
    if (++printed == wanted)
        kov_host_stop(0);
}

void print_message(const kov_client_msg *msg) { print_line(line_of(*msg)); }

// What a message about a host's profile says, for a program.
Json profile_json(std::uint32_t code, std::uint32_t op, std::uint32_t host_ref, std::string_view host,
                  const kov_profile_reply &reply)
{
    return {{"type", KOV_MTYPE_PROFILE_MGMT},
            {"name", mtype_word(KOV_MTYPE_PROFILE_MGMT)},
            {"operation", operation_text(op)},
            {"host", printable(host.data(), host.size())},
            {"reference", host_ref},
            {"code", code},
            {"result", kov_profile_data_value_to_string(code)},
            {"vni", std::uint32_t{reply.vni}},
            {"vlan", std::uint32_t{reply.vlan}},
            {"bd", std::uint32_t{reply.bd}}};
}

// A message about a host's profile: the library has taken it apart.
std::uint32_t print_profile(std::uint32_t code, std::uint32_t op, std::uint32_t host_ref,
                            std::uint32_t key_len, const std::uint8_t *key_data,
                            const kov_profile_reply *reply, const kov_profile_options_t *)
{
    if (as_json)
        print_line(one_line(profile_json(code, op, host_ref, host_of(key_data, key_len), *reply)));
    else
        print_line("type 12, " + std::string(mtype_name(KOV_MTYPE_PROFILE_MGMT)) + ": " +
                   kov_lab_profile_text(code, op, host_ref, key_len, key_data, reply));
    return 1;
}

void on_message(const ipc_message *msg, void *)
{
    const bool before = kov_is_client_registration_done() != 0;
    kov_dispatch(msg);
    if (!before && kov_is_client_registration_done() != 0) {
        std::fprintf(as_json ? stderr : stdout, "watching; Ctrl-C ends\n");
        std::fflush(stdout);
    }
}

// The server's terminal, on which the frames between it and all clients appear.
kov_host_session *frames = nullptr;

// What this process itself is told it prints as a client does.
bool is_own(std::string_view frame)
{
    const std::string own = "SAP " + std::to_string(ipc_sap_get(kov_host_ipc_handle())) + " (";
    return frame.starts_with("from " + own) || frame.starts_with("to " + own);
}

void print_frame(std::string_view trace)
{
    const std::string prefix = std::string(server_name) + ": ";
    if (trace.starts_with(prefix))
        trace.remove_prefix(prefix.size());
    if (!is_own(trace))
        print_line(as_json ? one_line({{"frame", trace}}) : std::string(trace));
}

void on_frames(int fd, std::uint32_t, void *)
{
    kov_host_cli_event event;
    int came = 0;
    while ((came = kov_host_session_next(frames, 0, &event)) == 1)
        if (event.kind == KOV_HOST_CLI_TRACE)
            print_frame(event.text);
    if (came == 0)
        return;
    kov_host_fd_unwatch(fd);
    kov_host_stop(gone("the server"));
}

bool open_frames(const Peer &server)
{
    frames = kov_host_session_open(server.dir_or_null(), server.name.c_str(), 0);
    if (frames == nullptr || kov_host_session_command(frames, "debug on") != 0)
        return false;
    kov_host_cli_event event;
    do
        if (kov_host_session_next(frames, -1, &event) < 0)
            return false;
    while (event.kind != KOV_HOST_CLI_DONE);
    return kov_host_fd_watch(kov_host_session_fd(frames), KOV_HOST_READ, on_frames, nullptr) == 0;
}

// Attached: registers, and prints until there is an end to it.
int watch_attached(const Peer &server, const std::uint32_t *types)
{
    constexpr kov_profile_callbacks profiles = {print_profile, print_profile, print_profile};
    kov_profile_register_callback(&profiles);
    kov_host_on_message(on_message, nullptr);
    kov_host_stop_on_signals();
    const std::string name = "kovctl-watch-" + std::to_string(getpid());
    if (!open_frames(server) ||
        kov_register_client(kov_host_ipc_handle(), name.c_str(), types, print_message) == 0)
        return nobody(server);
    return kov_host_run();
}

} // namespace

int watch(const std::string &dir, const std::string &types, std::uint32_t count, bool json)
{
    std::array<std::uint32_t, KOV_MTYPE_LIST_LENGTH> list{};
    if (const char *why = kov_lab_parse_types(types.c_str(), list.data())) {
        complain(std::string("--types: ") + why);
        return 2;
    }
    const Peer server{dir, server_name};
    if (kov_host_attach_tool(server.dir_or_null()) != 0) {
        complain(kov_host_error());
        return exit_nobody;
    }
    wanted = count;
    as_json = json;
    const int status = watch_attached(server, list.data());
    kov_deregister_client();
    kov_api_close();
    kov_host_detach();
    kov_host_session_close(frames);
    return status;
}

} // namespace kov_lab
