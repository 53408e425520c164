// Whether a database file can be trusted.
//
// LMDB maps the file and believes what it reads there: a page number beyond the end of the file is a bus
// error, a bad offset in a page a wild read. So a file is looked through before it is used: its two meta
// pages, and every page that can be reached from the roots. Everything is read with pread, nothing through
// the map.
//
// The pages of a commit stay as they are only while somebody holds a transaction on it. So the walk is made
// by whoever holds one, and is told its number.
#pragma once

#include <cstdint>
#include <string>

namespace kov_host
{

// The meta pages of an open file: right format, sane numbers. False with a sentence in `why`.
bool rdb_check_header(int fd, std::string &why);

enum class RdbCheck { sound, damaged, moved_on };

// The trees of commit `txn`. `with_free_list`: also the tree of free pages, which only a writer reads.
// moved_on: the file holds that commit's root no more, since it was not pinned in time; take a new one.
RdbCheck rdb_check_trees(int fd, std::uint64_t txn, bool with_free_list, std::string &why);

} // namespace kov_host
