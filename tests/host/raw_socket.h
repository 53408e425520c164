// One end of a connection without the host's own code: peers that make their own frames, or none.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace host_test
{

class RawSocket
{
public:
    static RawSocket connected_to(const std::string &path)
    {
        RawSocket raw;
        const sockaddr_un address = address_of(path);
        EXPECT_EQ(::connect(raw.fd_, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0)
            << path;
        return raw;
    }
    // In the place of what stands there. It accepts nobody.
    static RawSocket listening_at(const std::string &path)
    {
        RawSocket raw;
        const sockaddr_un address = address_of(path);
        ::unlink(path.c_str());
        EXPECT_EQ(::bind(raw.fd_, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0) << path;
        EXPECT_EQ(::listen(raw.fd_, 1), 0);
        return raw;
    }
    ~RawSocket() { close(); }
    RawSocket(RawSocket &&from) noexcept : fd_(from.fd_) { from.fd_ = -1; }
    RawSocket(const RawSocket &) = delete;
    RawSocket &operator=(const RawSocket &) = delete;

    int fd() const { return fd_; }
    void close()
    {
        if (fd_ >= 0)
            ::close(fd_);
        fd_ = -1;
    }
    // One packet.
    template <typename Bytes>
    void send(const Bytes &bytes) const
    {
        ASSERT_EQ(::send(fd_, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    }
    // A packet has come, somebody wants to connect, or the other end is gone.
    bool is_ready() const
    {
        pollfd asked{fd_, POLLIN, 0};
        return ::poll(&asked, 1, 0) == 1;
    }

private:
    RawSocket() : fd_(::socket(AF_UNIX, SOCK_SEQPACKET, 0)) {}

    static sockaddr_un address_of(const std::string &path)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::copy(path.begin(), path.end(), address.sun_path);
        return address;
    }

    int fd_;
};

} // namespace host_test
