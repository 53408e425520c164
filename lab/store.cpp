#include "store.h"

namespace kov_lab
{

std::unique_ptr<kov_host::RdbStore> open_store(const std::string &path, bool replace, const char *remedy,
                                               std::string &why)
{
    const kov_host::RdbState state = kov_host::rdb_inspect(path, why);
    if (state == kov_host::RdbState::damaged && !replace) {
        why = "the database is damaged: " + why + "; start with --replace to have it " + remedy;
        return nullptr;
    }
    if (state == kov_host::RdbState::damaged && !kov_host::rdb_remove(path, why))
        return nullptr;
    return kov_host::RdbStore::open(path, why);
}

} // namespace kov_lab
