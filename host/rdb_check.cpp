#include "rdb_check.h"
#include "rdb_key.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace kov_host
{
namespace
{

// The layout of LMDB's data format 1 on a 64-bit machine.
struct PageHeader {
    std::uint64_t number;
    std::uint16_t pad;
    std::uint16_t flags;
    std::uint16_t lower; // of an overflow page: lower and upper together are its number of pages
    std::uint16_t upper;
};
struct Tree {
    std::uint32_t pad; // of the free list's tree: the page size
    std::uint16_t flags;
    std::uint16_t depth;
    std::uint64_t branch_pages;
    std::uint64_t leaf_pages;
    std::uint64_t overflow_pages;
    std::uint64_t entries;
    std::uint64_t root;
};
struct Meta {
    std::uint32_t magic;
    std::uint32_t version;
    std::uint64_t address;
    std::uint64_t map_size;
    Tree free_list;
    Tree records;
    std::uint64_t last_page;
    std::uint64_t txn;
};
struct Node {
    std::uint16_t low;
    std::uint16_t high;
    std::uint16_t flags;
    std::uint16_t key_size;
};
static_assert(sizeof(PageHeader) == 16 && sizeof(Tree) == 48 && sizeof(Meta) == 136 && sizeof(Node) == 8);

constexpr std::uint32_t meta_magic = 0xbeefc0de;
constexpr std::uint64_t no_page = ~std::uint64_t{0};
constexpr std::uint16_t flag_branch = 0x01;
constexpr std::uint16_t flag_leaf = 0x02;
constexpr std::uint16_t flag_overflow = 0x04;
constexpr std::uint16_t flag_meta = 0x08;
constexpr std::uint16_t node_big = 0x01;
constexpr unsigned max_depth = 32;

std::uint64_t file_size(int fd)
{
    struct stat info {
    };
    return ::fstat(fd, &info) == 0 ? static_cast<std::uint64_t>(info.st_size) : 0;
}

bool read_at(int fd, std::uint64_t offset, void *out, std::size_t size)
{
    return ::pread(fd, out, size, static_cast<off_t>(offset)) == static_cast<ssize_t>(size);
}

template <typename T>
T load(const std::uint8_t *from)
{
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

bool sane_page_size(std::uint32_t size) { return size >= 512 && size <= 65536 && (size & (size - 1)) == 0; }

bool sane(const PageHeader &header, const Meta &meta)
{
    return (header.flags & flag_meta) != 0 && meta.magic == meta_magic && meta.version == 1 &&
           sane_page_size(meta.free_list.pad) && meta.last_page >= 1 &&
           meta.map_size / meta.free_list.pad > meta.last_page;
}

// Both meta pages; nothing when one is unreadable or not what it should be.
std::optional<std::array<Meta, 2>> read_metas(int fd)
{
    std::array<Meta, 2> metas{};
    std::uint64_t offset = 0;
    for (Meta &meta : metas) {
        PageHeader header{};
        if (!read_at(fd, offset, &header, sizeof header) ||
            !read_at(fd, offset + sizeof header, &meta, sizeof meta) || !sane(header, meta))
            return std::nullopt;
        offset = meta.free_list.pad;
    }
    if (metas[0].free_list.pad != metas[1].free_list.pad)
        return std::nullopt;
    return metas;
}

// A walk over one tree. Every look at a page is bounded by the page, every page by the file, the number of
// pages by what the file can hold: a file cannot make it run far.
class TreeWalk
{
public:
    TreeWalk(int fd, const Meta &meta, bool records)
        : fd_(fd), page_size_(meta.free_list.pad), last_page_(meta.last_page), size_(file_size(fd)),
          tree_(records ? meta.records : meta.free_list), records_(records), key_(records ? rdb_key_bytes : 8)
    {
    }

    bool sound()
    {
        if (tree_.root == no_page)
            return true;
        if (tree_.depth == 0 || tree_.depth > max_depth)
            return fails("a tree of impossible depth", tree_.root);
        return page(tree_.root, 1) && (entries_ == tree_.entries || fails("a wrong count", tree_.root));
    }

    std::string why() const
    {
        return std::string(what_) + " at page " + std::to_string(where_) + (records_ ? "" : " (free list)");
    }

private:
    using Bytes = std::vector<std::uint8_t>;

    bool fails(const char *what, std::uint64_t number)
    {
        what_ = what;
        where_ = number;
        return false;
    }

    bool inside(std::uint64_t number, std::uint64_t count) const
    {
        return number > 1 && number <= last_page_ && count <= last_page_ - number + 1 &&
               (number + count) * page_size_ <= size_;
    }

    bool page(std::uint64_t number, unsigned level)
    {
        if (!inside(number, 1) || ++seen_ > last_page_)
            return fails("a page beyond the end", number);
        Bytes bytes(page_size_);
        if (!read_at(fd_, number * page_size_, bytes.data(), bytes.size()))
            return fails("an unreadable page", number);
        const auto header = load<PageHeader>(bytes.data());
        const bool leaf = level == tree_.depth;
        if (header.number != number || header.flags != (leaf ? flag_leaf : flag_branch))
            return fails("a page of the wrong kind", number);
        if (header.lower < sizeof header || header.lower > header.upper || header.upper > page_size_ ||
            header.lower % 2 != 0)
            return fails("a page with impossible bounds", number);
        return nodes(bytes, header, level);
    }

    bool nodes(const Bytes &bytes, const PageHeader &header, unsigned level)
    {
        const std::size_t count = (header.lower - sizeof header) / 2;
        const bool leaf = level == tree_.depth;
        if (count == 0)
            return fails("an empty page", header.number);
        const std::uint8_t *former = nullptr;
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t at = load<std::uint16_t>(bytes.data() + sizeof header + 2 * i);
            if (at < header.upper || at % 2 != 0 || at + sizeof(Node) > bytes.size())
                return fails("an entry outside its page", header.number);
            const auto node = load<Node>(bytes.data() + at);
            const std::uint8_t *key = bytes.data() + at + sizeof node;
            if (at + sizeof node + node.key_size > bytes.size())
                return fails("a key outside its page", header.number);
            const bool keyless = !leaf && i == 0; // the leftmost key of a branch is not looked at
            if (!keyless && (node.key_size != key_ || (former != nullptr && !ascends(former, key))))
                return fails("a key out of order", header.number);
            if (!keyless)
                former = key;
            if (!(leaf ? value(bytes, node, at, header.number) : page(child(node), level + 1)))
                return false;
        }
        return true;
    }

    // Records compare as bytes; the free list's keys are numbers.
    bool ascends(const std::uint8_t *lower, const std::uint8_t *higher) const
    {
        if (records_)
            return std::memcmp(lower, higher, key_) < 0;
        return load<std::uint64_t>(lower) < load<std::uint64_t>(higher);
    }

    static std::uint64_t child(const Node &node)
    {
        return std::uint64_t{node.low} | std::uint64_t{node.high} << 16 | std::uint64_t{node.flags} << 32;
    }

    bool value(const Bytes &bytes, const Node &node, std::size_t at, std::uint64_t number)
    {
        const std::uint64_t size = std::uint64_t{node.low} | std::uint64_t{node.high} << 16;
        const std::size_t start = at + sizeof node + node.key_size;
        ++entries_;
        if (node.flags == node_big)
            return start + 8 <= bytes.size() ? overflow(load<std::uint64_t>(bytes.data() + start), size)
                                             : fails("a value outside its page", number);
        if (node.flags != 0 || start + size > bytes.size())
            return fails("a value outside its page", number);
        return records_ || page_list({bytes.begin() + static_cast<std::ptrdiff_t>(start),
                                      bytes.begin() + static_cast<std::ptrdiff_t>(start + size)},
                                     number);
    }

    bool overflow(std::uint64_t number, std::uint64_t size)
    {
        PageHeader header{};
        if (!inside(number, 1) || !read_at(fd_, number * page_size_, &header, sizeof header))
            return fails("a value beyond the end", number);
        const std::uint64_t pages = std::uint64_t{header.lower} | std::uint64_t{header.upper} << 16;
        if (header.number != number || header.flags != flag_overflow ||
            pages < (sizeof header + size + page_size_ - 1) / page_size_ || !inside(number, pages))
            return fails("a value of the wrong size", number);
        if (records_)
            return true;
        Bytes list(size);
        return read_at(fd_, number * page_size_ + sizeof header, list.data(), list.size())
                   ? page_list(list, number)
                   : fails("an unreadable page", number);
    }

    // A count and that many numbers of free pages. LMDB may leave room after them.
    bool page_list(const Bytes &list, std::uint64_t number)
    {
        if (list.size() < 8 || list.size() % 8 != 0 || load<std::uint64_t>(list.data()) > list.size() / 8 - 1)
            return fails("a free list of the wrong size", number);
        const std::uint64_t count = load<std::uint64_t>(list.data());
        for (std::uint64_t i = 1; i <= count; ++i) {
            const auto free_page = load<std::uint64_t>(list.data() + 8 * i);
            if (free_page < 2 || free_page > last_page_)
                return fails("a free page beyond the end", number);
        }
        return true;
    }

    int fd_;
    std::uint32_t page_size_;
    std::uint64_t last_page_;
    std::uint64_t size_;
    Tree tree_;
    bool records_;
    std::size_t key_;
    std::uint64_t seen_ = 0;
    std::uint64_t entries_ = 0;
    const char *what_ = "";
    std::uint64_t where_ = 0;
};

} // namespace

bool rdb_check_header(int fd, std::string &why)
{
    if (file_size(fd) == 0)
        why = "is empty";
    else if (!read_metas(fd))
        why = "is not a database, or its first pages are damaged";
    else
        return true;
    return false;
}

RdbCheck rdb_check_trees(int fd, std::uint64_t txn, bool with_free_list, std::string &why)
{
    const auto metas = read_metas(fd);
    if (!metas) {
        why = "is not a database, or its first pages are damaged";
        return RdbCheck::damaged;
    }
    const Meta &meta = (*metas)[txn % 2];
    if (meta.txn != txn)
        return RdbCheck::moved_on;
    TreeWalk records(fd, meta, true);
    if (!records.sound()) {
        why = "is damaged: " + records.why();
        return RdbCheck::damaged;
    }
    TreeWalk free_list(fd, meta, false);
    if (with_free_list && !free_list.sound()) {
        why = "is damaged: " + free_list.why();
        return RdbCheck::damaged;
    }
    return RdbCheck::sound;
}

} // namespace kov_host
