// The commands that kovctl's help tells of: those that it runs itself, and what it knows of the others.
#pragma once

#include "session.h"
#include "watch.h"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace kov_lab
{

// What a line of kovctl says.
struct Options {
    std::string dir;
    std::string client;
    std::vector<std::string> words;
    std::string types = watched_types;
    unsigned count = 0;
    unsigned timeout_s = 10;
    int alive = 0;
    bool json = false;
    bool watch = false;
    bool typed = false; // in a shell of kovctl's, whose session lasts

    Peer peer() const { return {dir, client.empty() ? server_name : client}; }
};

// A command that kovctl runs itself.
struct OwnCommand {
    const char *name;
    const char *words;
    const char *help;
    bool (*applies)(const Options &options); // else the line is for the other end
    const char *client_because;              // it needs -c NAME: why; null: it does not
    int (*run)(const Options &options);
    void (*describe)(CLI::App &command, Options &options);
};

// What runs elsewhere as it stands, in the server or in the client NAME. These rows are for the help text:
// every other command goes the same way, and the other end says when it knows none.
struct RemoteCommand {
    const char *name;
    const char *words;
    const char *help;
    const char *client_because = nullptr;
};

// By name; null for another.
const OwnCommand *own_command(const std::string &name);
const RemoteCommand *remote_command(const std::string &name);

// Whether a command that is a client's has one to run in; says so when not.
bool has_client(const char *name, const char *client_because, const Options &options);

// "get, watch, ..."
std::string own_names();

// How a line is read into `options`: the options of every line, and those with all commands. A line whose
// first word is none of these commands is all words: they are the other end's.
void describe(CLI::App &app, Options &options);
void describe_commands(CLI::App &app, Options &options);
void describe_line(CLI::App &app, Options &options, const std::vector<std::string> &words);

} // namespace kov_lab
