// kovctl's stats: one look at a client's counters, or one each second.
#pragma once

#include "session.h"

namespace kov_lab
{

struct StatsOptions {
    bool watch = false;
    bool json = false;  // a line for each look
    unsigned count = 0; // of looks; 0: one, or when watching no limit
};

// On a terminal a watched page stays in its place, elsewhere pages follow each other. The exit code, 0 when a
// signal ended it.
int show_stats(const Peer &peer, const StatsOptions &options);

} // namespace kov_lab
