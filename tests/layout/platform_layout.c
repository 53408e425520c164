/* Structures that the library and its platform both lay out. */
#include <kov/platform/fcodec.h>
#include <kov/platform/oak.h>
#include <kov/platform/rdb.h>

#include "layout.h"

SIZE_IS(osal_rdb_desc, 308);
FIELD_IS(osal_rdb_desc, unset, 0, 1);
FIELD_IS(osal_rdb_desc, name, 1, 32);
FIELD_IS(osal_rdb_desc, uri, 33, 256);
FIELD_IS(osal_rdb_desc, mode, 292, 4);
FIELD_IS(osal_rdb_desc, word, 296, 12);

/* A schema table: a header of four words, then rows of twelve. */
SIZE_BY_ABI(fcodec_table, 24, 16);
FIELD_BY_ABI(fcodec_table, size, 0, 4, 0, 4);
FIELD_BY_ABI(fcodec_table, type_name, 8, 8, 4, 4);
FIELD_BY_ABI(fcodec_table, zero, 16, 8, 8, 8);
SIZE_BY_ABI(fcodec_row, 56, 48);
FIELD_BY_ABI(fcodec_row, id, 0, 4, 0, 4);
FIELD_BY_ABI(fcodec_row, width, 4, 4, 4, 4);
FIELD_BY_ABI(fcodec_row, offset, 8, 4, 8, 4);
FIELD_BY_ABI(fcodec_row, kind, 12, 4, 12, 4);
FIELD_BY_ABI(fcodec_row, copy, 16, 8, 16, 4);
FIELD_BY_ABI(fcodec_row, data_size, 24, 8, 20, 4);
FIELD_BY_ABI(fcodec_row, zero, 32, 8, 24, 8);
FIELD_BY_ABI(fcodec_row, word_8, 40, 4, 32, 4);
FIELD_BY_ABI(fcodec_row, max_width, 44, 4, 36, 4);
FIELD_BY_ABI(fcodec_row, ones, 48, 4, 40, 4);
FIELD_BY_ABI(fcodec_row, zero_11, 52, 4, 44, 4);

/* What a row does not say about its field. */
SIZE_BY_ABI(fcodec_rule, 32, 20);
FIELD_BY_ABI(fcodec_rule, table, 0, 8, 0, 4);
FIELD_BY_ABI(fcodec_rule, field_id, 8, 4, 4, 4);
FIELD_BY_ABI(fcodec_rule, tail_length_id, 12, 4, 8, 4);
FIELD_BY_ABI(fcodec_rule, nested, 16, 8, 12, 4);
FIELD_BY_ABI(fcodec_rule, apply, 24, 8, 16, 4);

/* The library's nodes have their key at offset 16, behind the linkage. */
SIZE_IS(oak_linkage, 16);

#ifdef LAYOUT_FALSE_CLAIM
SIZE_IS(osal_rdb_desc, 307);
#endif

LAYOUT_MAIN("the platform's structures")
