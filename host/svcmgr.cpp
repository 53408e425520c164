// Where the databases live, who this process is, what time it is.
#include "loop.h"

#include <kov/platform/svcmgr.h>

#include <cstring>
#include <set>
#include <string>
#include <unistd.h>

namespace
{

constexpr std::size_t uri_capacity = 256;

} // namespace

extern "C" {

const char *svcmgr_running_cfg_uri_get(void)
{
    return kov_host::guarded<const char *>(nullptr, []() -> const char * {
        // each holds for the life of the process, also when it attaches elsewhere later
        static auto *uris = new std::set<std::string>;
        const char *dir = kov_host_dir();
        if (dir == nullptr)
            return nullptr;
        return uris->insert(std::string(kov_host::uri_scheme) + dir).first->c_str();
    });
}

const char *svcmgr_uri_complete(const char *base, uint32_t /*kind*/, const char *name)
{
    return kov_host::guarded<const char *>(nullptr, [&]() -> const char * {
        static std::string uri;
        if (base == nullptr || name == nullptr || name[0] == '\0' || std::strchr(name, '/') != nullptr) {
            kov_host::set_error("no database URI: %s", base == nullptr ? "no base" : "not a database's name");
            return nullptr;
        }
        std::string whole = std::string(base) + '/' + name;
        if (whole.size() >= uri_capacity) {
            kov_host::set_error("database URI %s is too long: at most %zu characters", whole.c_str(),
                                uri_capacity - 1);
            return nullptr;
        }
        uri = std::move(whole);
        return uri.c_str();
    });
}

uint32_t svcmgr_uuid_get(void) { return static_cast<uint32_t>(::getpid()); }

// Nanoseconds.
void orb_sys_mclock_get(uint64_t *out)
{
    if (out != nullptr)
        *out = kov_host::monotonic_ns();
}

} // extern "C"
