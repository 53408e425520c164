// Attaching to a runtime directory: what it needs, what it claims, what it leaves behind.
#include "host/host_test.h"

#include <kov/platform/ipc.h>
#include <kov/platform/svcmgr.h>

#include <grp.h>

namespace
{

using host_test::Child;
using host_test::Directory;

class Attach : public host_test::Host
{
protected:
    // A client that attaches as `name`, tells the result and stays until it is told to go or killed.
    std::function<int(const Child::Side &)> client(const std::string &name) const
    {
        return [name, where = directory.path()](const Child::Side &test) {
            test.tell(kov_host_attach(where.c_str(), name.c_str()));
            test.hear();
            kov_host_detach();
            return 0;
        };
    }

    void expect_refused(int result, const std::string &part)
    {
        EXPECT_EQ(result, -1);
        EXPECT_NE(std::string(kov_host_error()).find(part), std::string::npos)
            << "error: " << kov_host_error() << "\nwithout: " << part;
        EXPECT_EQ(kov_host_attached(), 0);
    }
};

TEST_F(Attach, AClientGetsAHandleAnAccessPointAndACommandLine)
{
    attach("arp");
    EXPECT_EQ(kov_host_attached(), 1);
    EXPECT_GE(kov_host_ipc_handle(), 1);
    EXPECT_STREQ(kov_host_name(), "arp");
    EXPECT_STREQ(kov_host_dir(), dir());
    EXPECT_TRUE(exists(directory / "ipc/sap-2000"));
    EXPECT_TRUE(exists(directory / "cli/arp.sock"));
    EXPECT_EQ(mode_of(directory / "ipc/sap-2000"), 0660u);
    EXPECT_EQ(mode_of(directory / "cli/arp.sock"), 0660u);
}

TEST_F(Attach, DetachingRemovesEverySocketAndClaim)
{
    attach("arp");
    ASSERT_GT(kov_host_ipc_open(0), 0);
    kov_host_detach();
    EXPECT_TRUE(std::filesystem::is_empty(directory / "ipc"));
    EXPECT_TRUE(std::filesystem::is_empty(directory / "cli"));
    EXPECT_EQ(kov_host_attached(), 0);
    EXPECT_EQ(kov_host_ipc_handle(), 0);
    EXPECT_STREQ(kov_host_name(), "");
    kov_host_detach();
}

TEST_F(Attach, AttachingAgainAfterDetachingWorks)
{
    for (int i = 0; i < 20; ++i) {
        attach("arp");
        kov_host_detach();
    }
}

TEST_F(Attach, AttachingTwiceIsRefusedAndTheFirstStays)
{
    attach("arp");
    EXPECT_EQ(kov_host_attach(dir(), "nd"), -1);
    EXPECT_NE(std::string(kov_host_error()).find("attached already"), std::string::npos);
    EXPECT_STREQ(kov_host_name(), "arp");
}

TEST_F(Attach, TheServerCreatesItsDirectoryWithMode0750)
{
    const std::string fresh = directory / "fresh";
    ASSERT_EQ(kov_host_attach_server(fresh.c_str(), "kovd", 1248), 0) << kov_host_error();
    EXPECT_EQ(mode_of(fresh), 0750u);
    EXPECT_TRUE(exists(fresh + "/ipc/sap-1248"));
}

TEST_F(Attach, AClientInAnAbsentDirectoryIsToldToStartTheServer)
{
    const std::string absent = directory / "absent";
    expect_refused(kov_host_attach(absent.c_str(), "arp"), "does not exist: start the server first");
    EXPECT_FALSE(exists(absent));
}

TEST_F(Attach, AToolHasAHandleButNoNameAndNoCommandLine)
{
    ASSERT_EQ(kov_host_attach_tool(dir()), 0) << kov_host_error();
    EXPECT_GE(kov_host_ipc_handle(), 1);
    EXPECT_STREQ(kov_host_name(), "");
    EXPECT_TRUE(std::filesystem::is_empty(directory / "cli"));
}

TEST_F(Attach, AFileInPlaceOfTheDirectoryIsRefused)
{
    const std::string file = directory / "file";
    std::fclose(std::fopen(file.c_str(), "w"));
    expect_refused(kov_host_attach(file.c_str(), "arp"), "is not a directory");
}

TEST_F(Attach, ADirectoryOfAnotherUserIsRefused)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give a directory away";
    ASSERT_EQ(::chown(dir(), 1, 1), 0);
    expect_refused(kov_host_attach(dir(), "arp"), "belongs to another user (uid 1, not 0)");
}

TEST_F(Attach, ADirectoryThatEveryUserMayWriteIsRefused)
{
    ASSERT_EQ(::chmod(dir(), 0777), 0);
    expect_refused(kov_host_attach(dir(), "arp"), "may be written by every user (mode 0777)");
}

// Root may write everywhere, so an ordinary user looks.
TEST_F(Attach, ADirectoryThatCannotBeWrittenIsRefused)
{
    const bool root = ::geteuid() == 0;
    ASSERT_EQ(root ? ::chown(dir(), 65534, 65534) : 0, 0);
    ASSERT_EQ(::chmod(dir(), 0550), 0);
    Child child([where = directory.path(), root](const Child::Side &test) {
        if (root && (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0))
            return 1;
        test.tell(kov_host_attach(where.c_str(), "arp"));
        const bool said = std::string(kov_host_error()).find("is not writable") != std::string::npos;
        return said ? 0 : 2;
    });
    EXPECT_EQ(child.next(), -1);
    EXPECT_EQ(child.wait(), 0);
    ASSERT_EQ(::chmod(dir(), 0750), 0);
}

TEST_F(Attach, APathTooLongForASocketIsRefusedBeforeAnythingIsMade)
{
    const std::string deep = directory / std::string(100, 'd');
    expect_refused(kov_host_attach_server(deep.c_str(), "kovd", 1248), "is too long");
    EXPECT_FALSE(exists(deep));
    const std::string name(64, 'n');
    const std::string middling = directory / std::string(30, 'd');
    expect_refused(kov_host_attach_server(middling.c_str(), name.c_str(), 1248), "is too long");
    EXPECT_FALSE(exists(middling));
}

TEST_F(Attach, NamesThatAreNoFileNamesAreRefused)
{
    const std::string long_name(65, 'n');
    for (const char *name : {"", ".", "..", ".arp", "-arp", "a/b", "a b", "\xc3\xa4", long_name.c_str()})
        expect_refused(kov_host_attach(dir(), name), "is no name");
    expect_refused(kov_host_attach(dir(), nullptr), "is no name");
    for (const char *name : {"a", "0", "arp-nd_2.x", "ARP"}) {
        attach(name);
        kov_host_detach();
    }
}

TEST_F(Attach, ANameThatALivingProcessHasIsRefusedWithItsPid)
{
    Child child(client("arp"));
    ASSERT_EQ(child.next(), 0);
    expect_refused(kov_host_attach(dir(), "arp"),
                   "the name arp is taken by a running process (pid " + std::to_string(child.pid()) + ")");
    attach("nd");
    kov_host_detach();
    child.go();
    EXPECT_EQ(child.wait(), 0);
    attach("arp");
}

TEST_F(Attach, WhatAKilledProcessLeftBehindIsNoObstacle)
{
    Child child(client("arp"));
    ASSERT_EQ(child.next(), 0);
    child.kill();
    ASSERT_TRUE(exists(directory / "cli/arp.sock"));
    ASSERT_TRUE(exists(directory / "ipc/sap-2000"));
    attach("arp");
    kov_host_detach();
    EXPECT_TRUE(std::filesystem::is_empty(directory / "ipc"));
    EXPECT_TRUE(std::filesystem::is_empty(directory / "cli"));
}

TEST_F(Attach, ASecondServerIsRefusedWithThePidOfTheFirst)
{
    Child child([where = directory.path()](const Child::Side &test) {
        test.tell(kov_host_attach_server(where.c_str(), "kovd", 1248));
        test.hear();
        return 0;
    });
    ASSERT_EQ(child.next(), 0);
    expect_refused(kov_host_attach_server(dir(), "kovd", 1248),
                   std::string("a server is already running in ") + dir() + " (pid " +
                       std::to_string(child.pid()) + ")");
    child.kill();
    EXPECT_EQ(kov_host_attach_server(dir(), "kovd", 1248), 0) << kov_host_error();
}

TEST_F(Attach, ClientsGetDifferentAccessPointsAndAFreedOneComesBack)
{
    Child first(client("one"));
    ASSERT_EQ(first.next(), 0);
    Child second(client("two"));
    ASSERT_EQ(second.next(), 0);
    EXPECT_TRUE(exists(directory / "ipc/sap-2000"));
    EXPECT_TRUE(exists(directory / "ipc/sap-2001"));
    first.kill();
    attach("three");
    EXPECT_FALSE(exists(directory / "ipc/sap-2002"));
}

TEST_F(Attach, AChildThatForkedAndEndsLeavesItsParentsSocketsAndLoopAlone)
{
    attach("arp");
    int received = 0;
    kov_host_on_message([](const ipc_message *, void *count) { ++*static_cast<int *>(count); }, &received);
    const pid_t child = ::fork();
    if (child == 0)
        std::exit(0); // with everything that a process does at its end
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    const pid_t second = ::fork();
    if (second == 0) {
        kov_host_detach();
        ::_exit(0);
    }
    ASSERT_EQ(::waitpid(second, &status, 0), second);
    EXPECT_TRUE(exists(directory / "cli/arp.sock"));
    EXPECT_TRUE(exists(directory / "cli/arp.lock"));
    EXPECT_TRUE(exists(directory / "ipc/sap-2000"));
    ASSERT_EQ(ipc_send(kov_host_ipc_handle(), 0xfe000000u, 2000, 1, nullptr, 0, 0, 0, 0), 0);
    run_until([&] { return received == 1; });
}

TEST_F(Attach, TheDirectoryComesFromTheCallerThenTheEnvironment)
{
    const Directory other;
    const std::string runtime = directory / "kov";
    ASSERT_EQ(::mkdir(runtime.c_str(), 0700), 0);
    ASSERT_EQ(::setenv("KOV_HOST_DIR", other.path().c_str(), 1), 0);
    EXPECT_STREQ(kov_host_dir(), other.path().c_str());
    attach("arp");
    EXPECT_STREQ(kov_host_dir(), dir());
    kov_host_detach();
    ASSERT_EQ(kov_host_attach(nullptr, "arp"), 0) << kov_host_error();
    EXPECT_STREQ(kov_host_dir(), other.path().c_str());
    kov_host_detach();
    ASSERT_EQ(::unsetenv("KOV_HOST_DIR"), 0);
}

TEST_F(Attach, WithoutAnEnvironmentTheDirectoryIsTheUsersRuntimeDirectory)
{
    ::unsetenv("KOV_HOST_DIR");
    if (::geteuid() == 0) {
        EXPECT_STREQ(kov_host_dir(), "/run/kov");
        return;
    }
    ::setenv("XDG_RUNTIME_DIR", dir(), 1);
    EXPECT_EQ(kov_host_dir(), directory / "kov");
    ::unsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(kov_host_dir(), nullptr);
}

TEST_F(Attach, TheDatabaseStandsInTheDirectory)
{
    attach();
    const char *base = svcmgr_running_cfg_uri_get();
    EXPECT_EQ(std::string(base), std::string("kov-host:") + dir());
    EXPECT_EQ(std::string(svcmgr_uri_complete(base, 0, "kov_rdb_info")),
              std::string("kov-host:") + dir() + "/kov_rdb_info");
}

TEST_F(Attach, CallsThatNeedAnAttachedProcessSayThatItIsNot)
{
    EXPECT_EQ(kov_host_run(), -1);
    EXPECT_STREQ(kov_host_error(), "not attached");
    EXPECT_EQ(kov_host_run_once(0), -1);
    EXPECT_EQ(kov_host_ipc_open(0), -1);
    EXPECT_EQ(kov_host_ipc_close(1), -1);
    EXPECT_EQ(kov_host_stop_on_signals(), -1);
    EXPECT_EQ(kov_host_timer_start(
                  0, 0, [](int, void *) {}, nullptr),
              -1);
    EXPECT_EQ(kov_host_timer_stop(1), -1);
    EXPECT_EQ(kov_host_fd_watch(
                  0, KOV_HOST_READ, [](int, uint32_t, void *) {}, nullptr),
              -1);
    EXPECT_EQ(kov_host_fd_unwatch(0), -1);
    kov_host_stop(1);
    kov_host_on_message(nullptr, nullptr);
    kov_host_time_slice(1);
}

} // namespace
