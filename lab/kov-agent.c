/*
 * kov-agent: the smallest complete client of the KOV service. Copy it to begin your own.
 *
 * It attaches to the machine's runtime directory, registers for message types, prints each message that the
 * server sends and what the library answers afterwards, and withdraws when it is told to stop. What a client
 * of your own needs is in main() and on_message(); the rest is printing.
 */
#include "client_commands.h"

#include <kov/kov_api.h>
#include <kov/platform/address.h>
#include <kov_host.h>

#include <getopt.h>
#include <inttypes.h>
#include <stdio.h>
#include <string.h>

/* The library asks this flag of every process: non-zero would mean that the service is not enabled yet. */
uint32_t kov_api_wait_for_init = 0;

/* Messages that the library took, for "status" on this process's command line. */
static uint64_t handled;

/* What an SVI answers now. The cache is refreshed before a handler runs. */
static void print_svi(uint32_t ifindex)
{
    printf("  %s forwards as %s\n", kov_ifindex_name_str(ifindex),
           kov_fwd_mode_str(kov_get_fwd_mode(ifindex)));
}

/* What a port answers now, physical or port-channel. */
static void print_port(uint32_t ifindex)
{
    printf("  %s: tracking %s, L2DCI %s\n", kov_ifindex_name_str(ifindex),
           kov_get_port_tracking(ifindex) ? "on" : "off", kov_get_port_l2dci(ifindex) ? "on" : "off");
}

static void print_general(void)
{
    uint8_t router[KOV_MAC_SIZE];
    const uint32_t encap = kov_get_fwd_encap_type(router);
    printf("  fabric %" PRIu32 ", %sswitch, %s, conversational learning %s, aging %" PRIu32 "/%" PRIu32
           " s\n",
           kov_get_fabric_id(), kov_switch_role_str(kov_get_switch_role()), kov_fwd_encap_str(encap),
           kov_check_conditional_route() ? "on" : "off", kov_get_conv_aging_timeout(1),
           kov_get_conv_aging_timeout(2));
    printf("  anycast gateway MAC %s, router MAC %s\n", im_print_mac_addr(kov_get_anycast_gateway_mac()),
           im_print_mac_addr(router));
}

/* Each record of a message begins with an interface index, at any alignment: no pointer casts. */
static void print_each(const kov_client_msg *msg, void (*print)(uint32_t ifindex))
{
    const uint8_t *record = (const uint8_t *)msg + sizeof *msg;
    uint32_t ifindex, i;
    for (i = 0; i < msg->count; ++i, record += kov_get_clients_msg_data_sz(msg->mtype)) {
        memcpy(&ifindex, record, sizeof ifindex);
        print(ifindex);
    }
}

/* The library's callback: one message, in host order, valid until this function returns. */
static void handler(const kov_client_msg *msg)
{
    printf("%s\n", kov_lab_message_text(msg));
    switch (msg->mtype) {
    case KOV_MTYPE_SVI_FWD_MODE:
    case KOV_MTYPE_FABRIC_CTRL_SEG:
    case KOV_MTYPE_SVI_MIGRATION:
    case KOV_MTYPE_SVI_FWD_MODE_CHANGE:
        print_each(msg, print_svi);
        break;
    case KOV_MTYPE_PORT_TRACKING:
    case KOV_MTYPE_PORT_L2DCI:
        print_each(msg, print_port);
        break;
    case KOV_MTYPE_AGGR_SUB_PFX:
    case KOV_MTYPE_PROFILE_MGMT:
    case KOV_MTYPE_SUPPRESS_ARP_TOPO:
        break;
    default: /* all others tell that general information changed */
        print_general();
    }
}

/* The host's callback: every message that arrives goes to the library. The server's acknowledgement completes
 * the registration and fills the cache; everything else reaches handler(). */
static void on_message(const ipc_message *msg, void *arg)
{
    const uint32_t before = kov_is_client_registration_done();
    (void)arg;
    handled += kov_dispatch(msg);
    if (!before && kov_is_client_registration_done())
        printf("registered; answers now come from the cache\n");
    fflush(stdout);
}

static int usage(int status)
{
    fprintf(status == 0 ? stdout : stderr,
            "usage: kov-agent [-d DIR] [-n NAME] [-t TYPES]\n"
            "  -d, --dir DIR      runtime directory ($KOV_HOST_DIR, or the user's own)\n"
            "  -n, --name NAME    the client's name; kovctl -c NAME reaches it (kov-agent)\n"
            "  -t, --types TYPES  message types to register for, like 9,18 (4-20)\n"
            "Ends on Ctrl-C or SIGTERM.\n");
    return status;
}

static int fail(const char *what)
{
    fprintf(stderr, "kov-agent: %s\n", what);
    return 1;
}

/* Attached: registers, and serves until told to stop. */
static int run(const char *name, const uint32_t *types)
{
    int status;
    kov_host_on_message(on_message, NULL);
    kov_host_stop_on_signals();
    if (!kov_register_client(kov_host_ipc_handle(), name, types, handler))
        return fail("the server does not answer: start one with kovd");
    printf("asked the server to register %s\n", name);
    fflush(stdout);
    status = kov_host_run();
    if (!kov_deregister_client())
        fail("the server is gone; nobody to deregister from");
    kov_api_close();
    return status;
}

int main(int argc, char **argv)
{
    static const struct option options[] = {
        {"dir", 1, NULL, 'd'}, {"name", 1, NULL, 'n'}, {"types", 1, NULL, 't'}, {"help", 0, NULL, 'h'}, {0}};
    const char *dir = NULL;
    const char *name = "kov-agent";
    const char *list = "4-20";
    uint32_t types[KOV_MTYPE_LIST_LENGTH];
    int option, status;
    while ((option = getopt_long(argc, argv, "d:n:t:h", options, NULL)) != -1) {
        if (option == 'd')
            dir = optarg;
        else if (option == 'n')
            name = optarg;
        else if (option == 't')
            list = optarg;
        else
            return usage(option == 'h' ? 0 : 2);
    }
    if (optind != argc || kov_lab_parse_types(list, types) != 0)
        return usage(2);
    if (kov_lab_add_client_commands(&handled) != 0 || kov_host_attach(dir, name) != 0)
        return fail(kov_host_error());
    status = run(name, types);
    kov_host_detach();
    return status;
}
