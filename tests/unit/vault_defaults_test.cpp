// The defaults of the stored records.
#include "defaults.h"

#include <kov/kov_vault.h>

namespace
{

TEST_F(Defaults, OfMostStoredRecordsAreAllZero)
{
    expect_written(kov_vault_init_state_default_init, {{0, zeros(4)}});
    expect_written(kov_vault_remote_host_default_init, {{0, zeros(32)}});
    expect_written(kov_vault_config_profile_data_default_init, {{0, zeros(4656)}});
    expect_written(kov_vault_profile_options_default_init, {{0, zeros(5318)}});
    expect_written(kov_vault_uhost_key_default_init, {{0, zeros(5374)}});
    expect_written(kov_vault_profile_cmd_data_default_init, {{0, zeros(68)}});
}

TEST_F(Defaults, OfAStoredClientAreZeroBehindAFirstFieldOfAllOnes)
{
    expect_written(kov_vault_client_default_init, {{0, fake::Bytes(4, 0xFF)}, {4, zeros(20)}});
}

TEST_F(Defaults, OfALocalHostAreItsFourStoredFieldsAndNoneOfTheOwnersBytes)
{
    expect_written(kov_vault_local_host_default_init,
                   {{24, zeros(6)}, {32, zeros(4)}, {40, zeros(4)}, {44, zeros(4)}});
}

// Deliberate: the last byte of field 0 keeps what it held.
// Deliberate: command data, xvlan data and the key keep what they held.
TEST_F(Defaults, OfAnAutoConfigurationHostKeepByte128CommandDataXvlanDataAndKey)
{
    expect_written(kov_vault_auto_config_host_default_init, {{0, zeros(128)},
                                                             {130, zeros(3)},
                                                             {136, zeros(8)},
                                                             {212, zeros(4)},
                                                             {216, zeros(16)},
                                                             {372, {1, 0}},
                                                             {374, zeros(128)},
                                                             {502, zeros(33)},
                                                             {5916, zeros(8)}});
}

// Deliberate: only the first three fields; the rest keeps what it held.
TEST_F(Defaults, OfAVdpHostAreOnlyTheFirstThreeFields)
{
    expect_written(kov_vault_vdp_host_default_init, {{0, zeros(4)}, {4, zeros(129)}, {133, zeros(100)}});
}

} // namespace
