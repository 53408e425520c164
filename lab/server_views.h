// The server's commands that only look: lists and single records. And what all its commands answer with.
#pragma once

#include "server.h"

#include <string>
#include <string_view>
#include <vector>

namespace kov_lab
{

using Words = std::vector<std::string_view>;

// The status of a command.
constexpr int done = 0;
constexpr int refused = 1;
constexpr int misused = 2;

int answer(void *cli, bool good, const std::string &text);
int usage(void *cli, const char *text);

int run_list_svis(Server &server, void *cli, const Words &words);
int run_list_topologies(Server &server, void *cli, const Words &words);
int run_list_ports(Server &server, void *cli, const Words &words);
int run_list_prefixes(Server &server, void *cli, const Words &words);
int run_list_profiles(Server &server, void *cli, const Words &words);
int run_list_clients(Server &server, void *cli, const Words &words);
int run_show_geninfo(Server &server, void *cli, const Words &words);
int run_show_svi(Server &server, void *cli, const Words &words);
int run_show_topology(Server &server, void *cli, const Words &words);
int run_show_port(Server &server, void *cli, const Words &words);

} // namespace kov_lab
