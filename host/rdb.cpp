// The database's calls. A database that was closed keeps its file mapped, so that opening it again is cheap:
// some callers open and close for each question.
#include "rdb_reader.h"

#include <kov/platform/rdb.h>

#include <cstring>
#include <list>

namespace kov_host
{
namespace
{

struct Database {
    explicit Database(const std::string &whole_uri)
        : uri(whole_uri), reader(whole_uri.substr(std::strlen(uri_scheme)))
    {
    }
    std::string uri;
    RdbReader reader;
    bool open = false;
};

std::list<Database> &databases()
{
    static std::list<Database> instance;
    return instance;
}

// As long as the process has few databases a list is the fastest index. `uri` need not end within 256 bytes.
Database *find(const char *uri)
{
    for (Database &database : databases())
        if (std::strncmp(database.uri.c_str(), uri, sizeof(osal_rdb_desc::uri)) == 0)
            return &database;
    return nullptr;
}

Database *find_open(const osal_rdb_desc *db, const void *key, std::uint32_t key_len)
{
    if (db == nullptr || key == nullptr || key_len != rdb_key_bytes)
        return nullptr;
    Database *database = find(db->uri);
    return database != nullptr && database->open ? database : nullptr;
}

Database *find_or_add(const char *uri)
{
    if (uri == nullptr || std::strncmp(uri, uri_scheme, std::strlen(uri_scheme)) != 0) {
        set_error("'%s' is no database URI of this host", uri == nullptr ? "" : uri);
        return nullptr;
    }
    if (Database *known = find(uri))
        return known;
    return &databases().emplace_back(uri);
}

bool open_database(const char *uri)
{
    Database *database = find_or_add(uri);
    std::string why;
    if (database == nullptr)
        return false;
    if (!database->reader.open(why)) {
        database->open = false;
        set_error("%s", why.c_str());
        return false;
    }
    database->open = true;
    return true;
}

using Step = bool (RdbReader::*)(const std::uint8_t *, RdbRecord &);

int walk(Step step, const osal_rdb_desc *db, const void *key, std::uint32_t key_len, const void **rkey,
         const void **tlv, std::uint32_t *tlv_len)
{
    Database *database = find_open(db, key, key_len);
    if (database == nullptr || rkey == nullptr || tlv == nullptr || tlv_len == nullptr)
        return 0;
    ++counters().rdb_steps;
    RdbRecord record{};
    if (!(database->reader.*step)(static_cast<const std::uint8_t *>(key), record))
        return 0;
    *rkey = record.key;
    *tlv = record.tlv;
    *tlv_len = record.tlv_size;
    return 1;
}

} // namespace

void let_readers_go(const std::string &path)
{
    for (Database &database : databases())
        if (database.reader.path() == path)
            database.reader.let_go();
}

void close_databases() { databases().clear(); }

} // namespace kov_host

using namespace kov_host;

extern "C" {

int osal_rdb_open(const char *uri, uint32_t /*flags*/)
{
    const bool opened = guarded(false, [&] { return open_database(uri); });
    ++(opened ? counters().rdb_opens : counters().rdb_open_failures);
    return opened ? 1 : 0;
}

int osal_rdb_close(const char *uri)
{
    Database *database = uri == nullptr ? nullptr : find(uri);
    if (database == nullptr || !database->open)
        return 0;
    database->open = false;
    return 1;
}

int osal_rdb_read(const osal_rdb_desc *db, const void *key, uint32_t key_len, const void **tlv,
                  uint32_t *tlv_len)
{
    return guarded(0, [&] {
        Database *database = find_open(db, key, key_len);
        if (database == nullptr || tlv == nullptr || tlv_len == nullptr)
            return 0;
        ++counters().rdb_reads;
        RdbRecord record{};
        if (!database->reader.read(static_cast<const std::uint8_t *>(key), record))
            return 0;
        *tlv = record.tlv;
        *tlv_len = record.tlv_size;
        return 1;
    });
}

int osal_rdb_get_first(const osal_rdb_desc *db, const void *key, uint32_t key_len, const void **rkey,
                       const void **tlv, uint32_t *tlv_len)
{
    return guarded(0, [&] { return walk(&RdbReader::first_from, db, key, key_len, rkey, tlv, tlv_len); });
}

int osal_rdb_get_next(const osal_rdb_desc *db, const void *key, uint32_t key_len, const void **rkey,
                      const void **tlv, uint32_t *tlv_len)
{
    return guarded(0, [&] { return walk(&RdbReader::next_after, db, key, key_len, rkey, tlv, tlv_len); });
}

} // extern "C"
