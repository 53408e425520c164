// The process's place in a runtime directory: made by kov_host_attach*, undone by kov_host_detach or at exit.
#pragma once

#include "cli_server.h"
#include "loop.h"
#include "rundir.h"
#include "transport.h"

#include <csignal>
#include <memory>
#include <string>
#include <unordered_map>

namespace kov_host
{

struct Attachment {
    Attachment(RunDir where, std::string name_taken);
    ~Attachment();
    Attachment(const Attachment &) = delete;
    Attachment &operator=(const Attachment &) = delete;

    RunDir dir;
    std::string name; // empty for a tool
    Loop loop;
    Transport transport;
    Claim name_claim;
    std::unique_ptr<CliServer> cli;
    std::int32_t handle = 0;
    std::unordered_map<int, WatchId> fd_watches;
    Fd signals;
    sigset_t former_mask{};
};

// Null when not attached.
Attachment *attachment();

} // namespace kov_host
