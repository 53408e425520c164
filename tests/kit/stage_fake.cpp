// The fake platform: its records are put by hand, every SAP is served.
#include "stage.h"

#include <fake/fake.h>

void kit::set_stage() { fake::platform().reset(); }
void kit::clear_stage() { fake::platform().reset(); }

void kit::put_record(const void *key61, const void *tlv, uint32_t size)
{
    fake::platform().db.put(key61, {static_cast<const uint8_t *>(tlv), size});
}

void kit::delete_record(const void *key61) { fake::platform().db.erase(key61); }

int32_t kit::open_handle() { return fake::Transport::handle; }
int32_t kit::sap_of_open_handle() { return fake::Transport::sap; }
uint32_t kit::served_sap() { return 1248; }
const char *kit::terminal() { return "console0"; }
