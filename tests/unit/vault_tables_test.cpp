// The schema tables of the stored records, word for word, the rules of their fields, and the order in which
// they are encoded.
#include "samples.h"
#include "schema_words.h"

#include <kov/kov_codec.h>

namespace
{

using fake::Bytes;

enum Kind : uint32_t { nested = 0, plain = 1, text = 8 };

struct Field {
    uint32_t id, offset, width;
    Kind kind = plain;
};

struct Table {
    const char *type_name;
    const void *at;
    std::size_t size; // of the exported object
    uint32_t record_size;
    std::vector<Field> fields; // in table order
};

#define KOV_TABLE_OBJECT(name) &name, sizeof name
// clang-format off
const Table tables[] = {
    {"kov_vault_init_state", KOV_TABLE_OBJECT(kov_vault_init_state_tbl), 4, {{0, 0, 4}}},
    {"kov_vault_remote_host_val_t", KOV_TABLE_OBJECT(kov_vault_remote_host_tbl), 32,
     {{0, 0, 20}, {1, 20, 4}, {2, 24, 4}, {3, 28, 4}}},
    {"kov_local_host_db", KOV_TABLE_OBJECT(kov_vault_local_host_tbl), 164,
     {{0, 24, 6}, {1, 32, 4}, {2, 40, 4}, {3, 44, 4}}},
    {"kov_vault_client_val_t", KOV_TABLE_OBJECT(kov_vault_client_tbl), 24,
     {{0, 0, 4}, {1, 4, 4}, {2, 8, 4}, {3, 12, 4}, {4, 16, 4}, {5, 20, 4}}},
    {"kov_config_profile_data_t", KOV_TABLE_OBJECT(kov_vault_config_profile_data_tbl), 4656,
     {{1, 0, 4}, {2, 4, 4}, {3, 8, 129, text}, {4, 137, 129, text}, {5, 266, 1}, {6, 267, 2048, text},
      {7, 2315, 34, text}, {8, 2349, 129, text}, {9, 2478, 129, text}, {10, 2607, 1},
      {11, 2608, 2048, text}}},
    {"kov_profile_options_t", KOV_TABLE_OBJECT(kov_vault_profile_options_tbl), 5318,
     {{1, 0, 1}, {101, 1, 4}, {102, 5, 4}, {103, 9, 6}, {104, 15, 129, text}, {105, 144, 2}, {106, 146, 2},
      {107, 148, 129, text}, {108, 277, 34, text}, {109, 311, 4}, {110, 315, 4}, {201, 319, 4}, {202, 323, 4},
      {203, 327, 4}, {204, 331, 4}, {205, 335, 4}, {206, 339, 4}, {207, 343, 4}, {208, 347, 2}, {209, 349, 4},
      {210, 353, 4}, {211, 357, 4}, {212, 361, 4656, nested}, {501, 5017, 32, text}, {601, 5049, 4},
      {602, 5057, 1}, {603, 5058, 4}}},
    {"kov_uhost_key_t", KOV_TABLE_OBJECT(kov_vault_uhost_key_tbl), 5374,
     {{0, 0, 1}, {1, 1, 1}, {2, 2, 4}, {3, 6, 4}, {4, 10, 1}, {5, 11, 45, text}, {6, 56, 5318, nested}}},
    {"kov_vault_auto_config_host_val_t", KOV_TABLE_OBJECT(kov_vault_auto_config_host_tbl), 5924,
     {{0, 0, 129}, {1, 130, 2}, {2, 132, 1}, {3, 136, 4}, {5, 140, 4}, {4, 144, 68, text}, {6, 212, 2},
      {7, 214, 2}, {8, 216, 4}, {9, 220, 4, text}, {10, 224, 8}, {11, 232, 140, text}, {12, 372, 2},
      {13, 374, 128}, {14, 502, 33}, {15, 540, 5374, nested}, {16, 5916, 4}, {17, 5920, 2}, {18, 5922, 2}}},
    {"kov_profile_cmd_data_t", KOV_TABLE_OBJECT(kov_vault_profile_cmd_data_tbl), 68,
     {{0, 0, 2}, {1, 4, 4}, {2, 8, 4}, {3, 12, 4}, {4, 16, 4}, {6, 56, 4}, {5, 20, 34}, {6, 56, 4}, {7, 60, 4}}},
    {"kov_vault_vdp_host_val_t", KOV_TABLE_OBJECT(kov_vault_vdp_host_tbl), 316,
     {{0, 0, 4}, {1, 4, 129}, {2, 133, 100}, {4, 236, 4}, {5, 240, 8}, {3, 248, 68, nested}}},
    {"kov_loopback_vrf_t", KOV_TABLE_OBJECT(kov_vault_loopback_vrf_tbl), 102, {{0, 0, 34}, {1, 34, 4}}},
};
// clang-format on

class StoredTables : public Lab
{
};

TEST_F(StoredTables, AreElevenAndBeginWithSizeNameAndTwoZeroWords)
{
    EXPECT_EQ(std::size(tables), 11u);
    for (const Table &table : tables) {
        SCOPED_TRACE(table.type_name);
        Words words(table.at);
        EXPECT_EQ(words.word(), table.record_size);
        EXPECT_STREQ(words.pointer(), table.type_name);
        EXPECT_EQ(words.word(), 0u);
        EXPECT_EQ(words.word(), 0u);
        EXPECT_EQ(words.read(), header_size);
    }
}

// A string has two routines, no other field has any.
TEST_F(StoredTables, HaveOneRowAFieldAndThenTheEndRow)
{
    for (const Table &table : tables) {
        SCOPED_TRACE(table.type_name);
        EXPECT_EQ(table.size, header_size + row_size * (table.fields.size() + 1));
        Words words(static_cast<const uint8_t *>(table.at) + header_size);
        for (const Field &f : table.fields) {
            const uint32_t routines = f.kind == text ? 1 : 0;
            EXPECT_EQ(next_row(words), (std::vector<uint32_t>{f.id, f.width, f.offset, f.kind, routines,
                                                              routines, 0, 0, 0, f.width, ones, 0}))
                << "field " << f.id;
        }
        EXPECT_EQ(next_row(words),
                  (std::vector<uint32_t>{ones, ones, ones, 0, 0, 0, 0, 0, ones, ones, ones, 0}));
        EXPECT_EQ(words.read(), table.size - header_size);
    }
}

TEST_F(StoredTables, HaveARuleForEachNestedRecordAndEachPartWithConvertersAndNoOther)
{
    const fcodec_rule expected[] = {
        {&kov_vault_profile_options_tbl.head, 212, ones, &kov_vault_config_profile_data_tbl.head, nullptr},
        {&kov_vault_uhost_key_tbl.head, 6, ones, &kov_vault_profile_options_tbl.head, nullptr},
        {&kov_vault_auto_config_host_tbl.head, 15, ones, &kov_vault_uhost_key_tbl.head, nullptr},
        {&kov_vault_vdp_host_tbl.head, 3, ones, &kov_vault_profile_cmd_data_tbl.head, nullptr},
        {&kov_vault_auto_config_host_tbl.head, 4, ones, nullptr,
         kov_vault_auto_config_cmd_data_tlv_to_struct},
        {&kov_vault_auto_config_host_tbl.head, 9, 8, nullptr, kov_vault_auto_config_parameters_tlv_to_struct},
        {&kov_vault_auto_config_host_tbl.head, 11, ones, nullptr,
         kov_vault_auto_config_xvlan_data_tlv_to_struct},
        {nullptr, 0, 0, nullptr, nullptr},
    };
    ASSERT_EQ(std::size(expected), std::size(kov_codec_rule_tbl));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        EXPECT_EQ(kov_codec_rule_tbl[i].table, expected[i].table) << i;
        EXPECT_EQ(kov_codec_rule_tbl[i].field_id, expected[i].field_id) << i;
        EXPECT_EQ(kov_codec_rule_tbl[i].tail_length_id, expected[i].tail_length_id) << i;
        EXPECT_EQ(kov_codec_rule_tbl[i].nested, expected[i].nested) << i;
        EXPECT_EQ(kov_codec_rule_tbl[i].apply, expected[i].apply) << i;
    }
}

template <class Record>
std::vector<uint32_t> encoded_ids(const fcodec_table &table)
{
    const Record record = {};
    Bytes tlv(fcodec_table_size(&table, &record));
    const auto size = static_cast<uint32_t>(tlv.size());
    EXPECT_EQ(fcodec_table_convert_struct_to_tlv(tlv.data(), size, &table, &record, 0, 0, 0), 0);
    fcodec_field_itr walk;
    EXPECT_EQ(fcodec_field_itr_init(&walk, tlv.data(), size, &table, 0, 0), 0);
    std::vector<uint32_t> ids;
    for (fcodec_field field; fcodec_field_itr_get_next(&walk, &field) == 0;)
        ids.push_back(field.id);
    return ids;
}

// Deliberate: field 6 stands twice, before and after field 5, and is stored twice.
TEST_F(StoredTables, Field6OfAProfileCommandStandsTwiceBeforeAndAfterField5AndIsStoredTwice)
{
    EXPECT_EQ(encoded_ids<kov_profile_cmd_data_t>(kov_vault_profile_cmd_data_tbl.head),
              (std::vector<uint32_t>{0, 1, 2, 3, 4, 6, 5, 6, 7}));
}

// Deliberate: field 5 is encoded before field 4.
TEST_F(StoredTables, Field5OfAnAutoConfigurationHostIsEncodedBeforeField4)
{
    EXPECT_EQ(encoded_ids<kov_vault_auto_config_host_val_t>(kov_vault_auto_config_host_tbl.head),
              (std::vector<uint32_t>{0, 1, 2, 3, 5, 4, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18}));
}

// Deliberate: field 3 is encoded last.
TEST_F(StoredTables, Field3OfAVdpHostIsEncodedLast)
{
    EXPECT_EQ(encoded_ids<kov_vault_vdp_host_val_t>(kov_vault_vdp_host_tbl.head),
              (std::vector<uint32_t>{0, 1, 2, 4, 5, 3}));
}

} // namespace
