// libkov_host on a runtime directory of its own; this process is also its server.
#include "stage.h"

#include <kov/platform/ipc.h>
#include <kov_host.h>
#include <rdb_store.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

namespace
{

std::string directory;
std::unique_ptr<kov_host::RdbStore> store;
int32_t server_handle;

void check(bool done, const std::string &why)
{
    if (!done)
        throw std::runtime_error(why);
}

kov_host::RdbKey key_at(const void *key61)
{
    return kov_host::RdbKey(static_cast<const uint8_t *>(key61), kov_host::rdb_key_size);
}

} // namespace

void kit::set_stage()
{
    directory = (std::filesystem::temp_directory_path() / "kov-kit-XXXXXX").string();
    check(::mkdtemp(directory.data()) != nullptr, "no directory for the kit");
    check(kov_host_attach(directory.c_str(), "kit") == 0, kov_host_error());
    server_handle = kov_host_ipc_open(0);
    check(server_handle > 0, kov_host_error());
    std::string why;
    store = kov_host::RdbStore::open(directory + "/kov_rdb_info", why);
    check(store != nullptr, why);
}

void kit::clear_stage()
{
    store.reset();
    kov_host_detach();
    std::error_code ignored;
    std::filesystem::remove_all(directory, ignored);
}

void kit::put_record(const void *key61, const void *tlv, uint32_t size)
{
    const kov_host::RdbBytes bytes(static_cast<const uint8_t *>(tlv), size);
    check(store->begin() && store->put(key_at(key61), bytes) && store->commit(), store->error());
}

void kit::delete_record(const void *key61)
{
    check(store->begin() && store->erase(key_at(key61)) && store->commit(), store->error());
}

int32_t kit::open_handle() { return kov_host_ipc_handle(); }
int32_t kit::sap_of_open_handle() { return 2000; } // the first free one
uint32_t kit::served_sap() { return static_cast<uint32_t>(ipc_sap_get(server_handle)); }
const char *kit::terminal() { return "stderr"; }
