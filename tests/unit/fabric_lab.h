// The fixture of the tests of fabric-wide queries: three known interfaces, and verbs for tables of cases.
#pragma once

#include "samples.h"

#include <cstdio>

// What every query traces first while the process waits.
inline const std::string waiting = "API called even before KOV is enabled, ignore";

inline std::string mac_text(const uint8_t *mac)
{
    char text[13];
    for (std::size_t i = 0; i < 6; ++i)
        std::snprintf(text + 2 * i, 3, "%02x", unsigned{mac[i]});
    return text;
}

class FabricLab : public Lab
{
protected:
    FabricLab()
    {
        for (const uint32_t ifindex : {10u, 20u, 30u})
            platform.interfaces.add_vlan(ifindex, "vlan" + std::to_string(ifindex));
    }

    // Ends one case of a table: the client goes, the database is empty, the library is closed.
    void start_over()
    {
        kov_deregister_client();
        kov_api_close();
        EXPECT_TRUE(platform.leaks().none());
        platform.db.clear();
    }

    // What the gate traces in the caller's name.
    static std::string refused(const std::string &caller, uint32_t mtype)
    {
        return caller + "(): Client unit has not registered for mtype: " + std::to_string(mtype) +
               ", doing an RDB based lookup";
    }
};
