// The schema tables of the published records, word for word, and that their order is the encoding order.
#include "samples.h"
#include "schema_words.h"

#include <kov/kov_codec.h>

#include <string>

namespace
{

using fake::Bytes;

struct Field {
    uint32_t id, offset, width;
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
    {"kov_rdb_geninfo_t", KOV_TABLE_OBJECT(kov_rdb_geninfo_tbl), 181,
     {{0, 0, 4}, {1, 4, 4}, {2, 8, 6}, {3, 14, 4}, {4, 18, 4}, {5, 22, 4}, {6, 26, 4}, {7, 30, 4}, {8, 34, 4},
      {9, 38, 6}, {10, 44, 128}, {11, 172, 4}, {12, 176, 1}, {13, 177, 4}}},
    {"kov_rdb_sviinfo_t", KOV_TABLE_OBJECT(kov_rdb_sviinfo_tbl), 138,
     {{0, 0, 4}, {1, 4, 4}, {2, 8, 4}, {3, 16, 8}, {4, 24, 17}, {5, 41, 33}, {6, 74, 4}, {7, 78, 4}, {8, 94, 4},
      {9, 112, 6}, {10, 122, 4}, {11, 126, 4}, {12, 118, 4}}},
    {"kov_rdb_l2rib_topo_info_t", KOV_TABLE_OBJECT(kov_rdb_l2rib_topo_info_tbl), 52,
     {{0, 0, 4}, {1, 4, 4}, {2, 20, 4}, {3, 24, 4}, {4, 28, 4}}},
    {"kov_rdb_aggr_sub_pfx_t", KOV_TABLE_OBJECT(kov_rdb_aggr_sub_pfx_tbl), 20, {{0, 0, 20}}},
    {"kov_rdb_port_tracking_t", KOV_TABLE_OBJECT(kov_rdb_port_tracking_tbl), 35, {{0, 0, 2}, {1, 2, 33}}},
    {"kov_rdb_port_l2dci_t", KOV_TABLE_OBJECT(kov_rdb_port_l2dci_tbl), 35, {{0, 0, 2}, {1, 2, 33}}},
};
// clang-format on

class SchemaTables : public Lab
{
};

TEST_F(SchemaTables, BeginWithSizeNameAndTwoZeroWords)
{
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

TEST_F(SchemaTables, HaveOneRowAFieldAndThenTheEndRow)
{
    for (const Table &table : tables) {
        SCOPED_TRACE(table.type_name);
        EXPECT_EQ(table.size, header_size + row_size * (table.fields.size() + 1));
        Words words(static_cast<const uint8_t *>(table.at) + header_size);
        for (const Field &f : table.fields)
            EXPECT_EQ(next_row(words),
                      (std::vector<uint32_t>{f.id, f.width, f.offset, 1, 0, 0, 0, 0, 0, f.width, ones, 0}))
                << "field " << f.id;
        EXPECT_EQ(next_row(words),
                  (std::vector<uint32_t>{ones, ones, ones, 0, 0, 0, 0, 0, ones, ones, ones, 0}));
        EXPECT_EQ(words.read(), table.size - header_size);
    }
}

// What stands in a stream, field by field, through any table's own calls.
struct Stream {
    std::vector<uint32_t> ids;
    Bytes values; // one behind the other
};

template <class Record>
Stream encoded(const Record &record, const fcodec_table &table)
{
    Bytes tlv(fcodec_table_size(&table, &record));
    EXPECT_EQ(fcodec_table_convert_struct_to_tlv(tlv.data(), static_cast<uint32_t>(tlv.size()), &table,
                                                 &record, 0, 0, 0),
              0);
    fcodec_field_itr walk;
    EXPECT_EQ(fcodec_field_itr_init(&walk, tlv.data(), static_cast<uint32_t>(tlv.size()), &table, 0, 0), 0);
    Stream stream;
    for (fcodec_field field; fcodec_field_itr_get_next(&walk, &field) == 0;) {
        stream.ids.push_back(field.id);
        const Bytes value = bytes_at(field.value, field.len);
        stream.values.insert(stream.values.end(), value.begin(), value.end());
    }
    return stream;
}

// Every byte of the record says where it stands.
template <class Record>
Record numbered()
{
    Record record;
    for (std::size_t i = 0; i < sizeof record; ++i)
        reinterpret_cast<uint8_t *>(&record)[i] = static_cast<uint8_t>(i);
    return record;
}

template <class Record>
void expect_table_order(const Table &table, const fcodec_table &head)
{
    SCOPED_TRACE(table.type_name);
    std::vector<uint32_t> ids;
    Bytes values;
    for (const Field &f : table.fields) {
        ids.push_back(f.id);
        for (uint32_t i = 0; i < f.width; ++i)
            values.push_back(static_cast<uint8_t>(f.offset + i));
    }
    const Stream stream = encoded(numbered<Record>(), head);
    EXPECT_EQ(stream.ids, ids);
    EXPECT_EQ(stream.values, values);
}

TEST_F(SchemaTables, AreEncodedInTheirOrderAndCarryNoLocalByte)
{
    expect_table_order<kov_rdb_geninfo_t>(tables[0], kov_rdb_geninfo_tbl.head);
    expect_table_order<kov_rdb_sviinfo_t>(tables[1], kov_rdb_sviinfo_tbl.head);
    expect_table_order<kov_rdb_l2rib_topo_info_t>(tables[2], kov_rdb_l2rib_topo_info_tbl.head);
    expect_table_order<kov_rdb_aggr_sub_pfx_t>(tables[3], kov_rdb_aggr_sub_pfx_tbl.head);
    expect_table_order<kov_rdb_port_tracking_t>(tables[4], kov_rdb_port_tracking_tbl.head);
    expect_table_order<kov_rdb_port_l2dci_t>(tables[5], kov_rdb_port_l2dci_tbl.head);
}

// Deliberate: field 12 stands between fields 9 and 10 in the record and is encoded last.
TEST_F(SchemaTables, Field12OfAnSviStandsBetweenFields9And10InTheRecordAndIsEncodedLast)
{
    const std::vector<uint32_t> ids = encoded(svi_in_mode(10, 2), kov_rdb_sviinfo_tbl.head).ids;
    ASSERT_EQ(ids.size(), 13u);
    EXPECT_EQ(ids[11], 11u);
    EXPECT_EQ(ids[12], 12u);
    EXPECT_GT(offsetof(kov_rdb_sviinfo_t, suppress_arp), offsetof(kov_rdb_sviinfo_t, gw_mac));
    EXPECT_LT(offsetof(kov_rdb_sviinfo_t, suppress_arp), offsetof(kov_rdb_sviinfo_t, svi_word10));
}

// Bytes that no row covers stay as the reader's buffer held them.
TEST_F(SchemaTables, DecodingLeavesTheLocalBytesOfAnSviAsFound)
{
    const auto sent = numbered<kov_rdb_sviinfo_t>();
    Bytes tlv(kov_rdb_sviinfo_get_tlv_sz(&sent));
    ASSERT_EQ(kov_rdb_sviinfo_to_tlv(&sent, tlv.data(), static_cast<uint32_t>(tlv.size()), 0, 0, 0), 0);
    kov_rdb_sviinfo_t got;
    std::memset(&got, 0xEE, sizeof got);
    ASSERT_EQ(kov_rdb_sviinfo_to_struct(tlv.data(), static_cast<uint32_t>(tlv.size()), &got, 0), 0);

    Bytes expected = bytes_of(sent);
    for (const auto &[first, last] :
         std::vector<std::pair<std::size_t, std::size_t>>{{12, 15}, {82, 93}, {98, 111}, {130, 137}})
        for (std::size_t i = first; i <= last; ++i)
            expected[i] = 0xEE;
    EXPECT_EQ(bytes_of(got), expected);
}

// Deliberate: the initialiser leaves field 7 as found, and encoding carries whatever stands there.
TEST_F(SchemaTables, ARecordBuiltFromTheDefaultsCarriesWhateverFerroMigrationHeld)
{
    kov_rdb_geninfo_t record;
    std::memset(&record, 0x5A, sizeof record);
    kov_rdb_geninfo_default_init(&record);
    Bytes tlv(kov_rdb_geninfo_get_tlv_sz(&record));
    ASSERT_EQ(kov_rdb_geninfo_to_tlv(&record, tlv.data(), static_cast<uint32_t>(tlv.size()), 0, 0, 0), 0);
    uint32_t migration = 0, size = sizeof migration;
    ASSERT_EQ(kov_rdb_geninfo_get_field(tlv.data(), static_cast<uint32_t>(tlv.size()), 7, &migration, &size),
              0);
    EXPECT_EQ(migration, 0x5A5A5A5Au);
}

} // namespace
