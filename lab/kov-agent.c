/*
 * kov-agent: the smallest complete client of the KOV service. Copy it to begin your own.
 *
 * It attaches to the machine's runtime directory, registers for message types, prints each message that the
 * server sends and what the library answers afterwards, registers again when the server has died and
 * returned, and withdraws when it is told to stop.
 */
#include "client_commands.h"

#include <kov/kov_api.h>
#include <kov_host.h>

#include <getopt.h>
#include <stdio.h>

/* The library asks this flag of every process: non-zero would mean that the service is not enabled yet. */
uint32_t kov_api_wait_for_init = 0;

static const char *name = "kov-agent";
static uint32_t types[KOV_MTYPE_LIST_LENGTH];

/* The library's callback: one message, in host order, valid until this function returns. The cache is
 * refreshed before it runs, so a client of your own asks here what it wants to know: kov_get_fwd_mode(svi).
 */
static void handler(const kov_client_msg *msg)
{
    printf("%s\n%s", kov_lab_message_text(msg), kov_lab_answers_text(msg));
}

/* The library's callbacks about one host, which "profile add" on this process's command line has named: the
 * server has answered; it wants to know whether the host is still there; the host's profile has to go. */
static uint32_t on_answer(uint32_t code, uint32_t op, uint32_t ref, uint32_t key_len, const uint8_t *key,
                          const kov_profile_reply *reply, const kov_profile_options_t *options)
{
    (void)options;
    return printf("answered: %s\n", kov_lab_profile_text(code, op, ref, key_len, key, reply)) > 0;
}

static uint32_t on_check(uint32_t code, uint32_t op, uint32_t ref, uint32_t key_len, const uint8_t *key,
                         const kov_profile_reply *reply, const kov_profile_options_t *options)
{
    kov_host_verified found;
    uint32_t nd, told;
    (void)options;
    printf("check this: %s\n", kov_lab_profile_text(code, op, ref, key_len, key, reply));
    if (!kov_lab_probe(key_len, key, &found, &nd)) /* an ARP or ND probe of your own; silence tells nothing */
        return printf("  it does not answer\n") > 0;
    told = kov_arp_nd_host_verification_resp(&found, nd);
    return printf("  it answers on %s; %s\n", kov_ifindex_name_str(found.ifindex),
                  told ? "told the server" : "the server cannot be told") > 0;
}

static uint32_t on_clear(uint32_t code, uint32_t op, uint32_t ref, uint32_t key_len, const uint8_t *key,
                         const kov_profile_reply *reply, const kov_profile_options_t *options)
{
    (void)options;
    return printf("clear this: %s\n", kov_lab_profile_text(code, op, ref, key_len, key, reply)) > 0;
}

/* The host's callback: every message that arrives goes to the library. The server's acknowledgement completes
 * the registration and fills the cache; everything else reaches handler(). */
static void on_message(const ipc_message *msg, void *arg)
{
    const uint32_t before = kov_is_client_registration_done();
    (void)arg;
    kov_lab_dispatch(msg); /* kov_dispatch, counted for "stats" on this process's command line */
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
            "  -t, --types TYPES  message types to register for, like svi,topology or 9,19 (all)\n"
            "Ends on Ctrl-C or SIGTERM.\n");
    return status;
}

static int fail(const char *what)
{
    fprintf(stderr, "kov-agent: %s\n", what);
    return 1;
}

static int ask_server(void) { return kov_register_client(kov_host_ipc_handle(), name, types, handler) != 0; }

/* The host's callback: the server went away, or one is there again, which knows nobody. Until it acknowledges
 * the new registration, the cache and then the database answer. */
static void on_server(uint32_t sap, int present, void *arg)
{
    (void)sap, (void)arg;
    if (!present)
        printf("the server is gone; the cache goes on answering%s\n", kov_lab_losses_text());
    else if (kov_deregister_client() && ask_server()) /* else it is gone once more, and will be back */
        printf("the server is back; asked it to register %s%s\n", name, kov_lab_losses_text());
    fflush(stdout);
}

/* Attached: registers, and serves until told to stop. */
static int run(void)
{
    static const kov_profile_callbacks hosts = {on_answer, on_check, on_clear};
    int status;
    kov_host_on_message(on_message, NULL);
    kov_profile_register_callback(&hosts);
    kov_host_stop_on_signals();
    if (!ask_server())
        return fail("the server does not answer: start one with kovd");
    kov_host_peer_watch(KOV_SERVER_SAP, on_server, NULL);
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
    const char *list = "all", *wrong;
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
    if (optind != argc)
        return usage(2);
    wrong = kov_lab_parse_types(list, types);
    if (wrong != NULL) {
        fail(wrong);
        return 2;
    }
    if (kov_lab_add_client_commands() != 0 || kov_host_attach(dir, name) != 0)
        return fail(kov_host_error());
    status = run();
    kov_host_detach();
    return status;
}
