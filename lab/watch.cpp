#include "watch.h"

#include "client_commands.h"

#include <kov/kov_api.h>
#include <kov_host.h>

#include <array>
#include <cstdio>
#include <unistd.h>

namespace kov_lab
{
namespace
{

std::uint32_t wanted = 0;
std::uint32_t printed = 0;

void print_message(const kov_client_msg *msg)
{
    std::printf("%s\n", kov_lab_message_text(msg));
    std::fflush(stdout);
    if (++printed == wanted)
        kov_host_stop(0);
}

void on_message(const ipc_message *msg, void *)
{
    const bool before = kov_is_client_registration_done() != 0;
    kov_dispatch(msg);
    if (!before && kov_is_client_registration_done() != 0) {
        std::printf("watching; Ctrl-C ends\n");
        std::fflush(stdout);
    }
}

} // namespace

int watch(const std::string &dir, const std::string &types, std::uint32_t count)
{
    std::array<std::uint32_t, KOV_MTYPE_LIST_LENGTH> list{};
    if (kov_lab_parse_types(types.c_str(), list.data()) != 0) {
        std::fprintf(stderr, "kovctl: \"%s\" is no list of message types, like 4-20 or 9,18\n",
                     types.c_str());
        return 2;
    }
    if (kov_host_attach_tool(dir.empty() ? nullptr : dir.c_str()) != 0) {
        std::fprintf(stderr, "kovctl: %s\n", kov_host_error());
        return 1;
    }
    wanted = count;
    kov_host_on_message(on_message, nullptr);
    kov_host_stop_on_signals();
    const std::string name = "kovctl-watch-" + std::to_string(getpid());
    int status = 1;
    if (kov_register_client(kov_host_ipc_handle(), name.c_str(), list.data(), print_message) != 0)
        status = kov_host_run();
    else
        std::fprintf(stderr, "kovctl: no server in %s: start one with kovd --scenario FILE\n",
                     kov_host_dir());
    kov_deregister_client();
    kov_api_close();
    kov_host_detach();
    return status;
}

} // namespace kov_lab
