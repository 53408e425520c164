// What every file of the host needs: the text of the last error, the counters, owned descriptors, and the
// wall between C++ and the C boundary.
//
// An exported function is `return guarded(<what failure means>, [&] { ... });`: whatever is thrown inside
// becomes the failure value and the error text. State lives in function-local statics and is used from the
// one thread of the process.
#pragma once

#include "kov_host.h"

#include <cstddef>
#include <exception>
#include <string>
#include <utility>

namespace kov_host
{

// Sets the text of kov_host_error. The format may print the text's own former content.
void set_error(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

// The same, and returns -1.
int fail(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

kov_host_counters &counters();

// A database's URI is this, the runtime directory, a slash and the database's name.
constexpr char uri_scheme[] = "kov-host:";

// The next of 16 rotating buffers of print_buffer_size bytes, for texts that a call hands out.
constexpr std::size_t print_buffer_size = 64;
char *print_buffer();

template <typename Result, typename Function>
Result guarded(Result on_failure, Function &&function) noexcept
{
    try {
        return function();
    } catch (const std::exception &caught) {
        set_error("%s", caught.what());
    } catch (...) {
        set_error("unknown failure");
    }
    return on_failure;
}

// Removes a file of this process's; a forked child that ends leaves its parent's files alone.
void remove_owned(const std::string &path);
// From here on the files are this process's.
void own_files();

// A descriptor that is closed with its owner.
class Fd
{
public:
    Fd() = default;
    explicit Fd(int fd) : fd_(fd) {}
    Fd(Fd &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Fd &operator=(Fd &&other) noexcept
    {
        std::swap(fd_, other.fd_);
        return *this;
    }
    Fd(const Fd &) = delete;
    Fd &operator=(const Fd &) = delete;
    ~Fd() { reset(); }

    void reset();
    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};

} // namespace kov_host
