/*
 * Record codec: structures to and from a self-delimiting stream, driven by a schema table.
 *
 * A schema table is a header, one row a field behind it, and an end row. The library exports its tables as
 * data; the codec only reads them. The order of the rows is the order of the fields in the stream, and an id
 * that stands in two rows is encoded twice. Offsets and widths count bytes of the structure. What no row
 * covers is never read and never written. The form of the stream is the platform's own, but a stream says its
 * own length and the size of the structure, and values stand in it as they stand in the structure.
 *
 * Decoding: the whole stream is checked, then the structure is written. Fields are applied in stream order,
 * so that of a repeated one the last counts; a tail may stand once, and a stream with a second is malformed.
 * A field whose id no row has is skipped; a row that has no field leaves its bytes as found. A field that is
 * not exactly as long as its row is wide (or its nested stream, or its tail), or a stream that is for a
 * structure of another size, is malformed.
 *
 * Every call that returns an int returns an fcodec_code. When it is not FCODEC_OK, the output is untouched
 * (fcodec_get_field tells the size it wants). Streams and structures may stand at any address and are the
 * caller's; a call keeps none of its pointers, except the walk, whose stream and table must outlive it. No
 * stream is longer than 16 MiB. Nothing is thrown.
 */
#ifndef KOV_PLATFORM_FCODEC_H
#define KOV_PLATFORM_FCODEC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum fcodec_code {
    FCODEC_OK = 0,
    FCODEC_NO_MEMORY = 1,
    FCODEC_END = 2,       /* no further field, or no such field */
    FCODEC_ARGUMENT = 73, /* a null pointer, or a table that cannot be used */
    FCODEC_MALFORMED = 74,
    FCODEC_TOO_SMALL = 75 /* the room for the result, or the stream would pass 16 MiB */
};

enum fcodec_kind {
    FCODEC_KIND_NESTED = 0, /* a whole record that has a table of its own; a whole stream in the stream */
    FCODEC_KIND_PLAIN = 1,  /* bytes as they are: integers, MAC addresses, prefixes, arrays */
    FCODEC_KIND_STRING = 8  /* a string, or data of variable size */
};

/*
 * The routines of a string row (kind 8). `rec` is the first byte of the structure that the row's table
 * describes, which for a nested one is where it stands in the outer one.
 *
 * A copy routine gives the field's data: where it stands in `bytes`, its size in `len`, and in `owned` 1 when
 * it stands in a block of fcodec_malloc that the caller must free, 0 when it stands in the structure. It is
 * called with all three 0, and leaves them so when there is no data. FCODEC_OK, FCODEC_NO_MEMORY, or
 * FCODEC_ARGUMENT for a null pointer. `unused` is ignored.
 * A size routine says how much that is, without fail.
 * An apply routine writes the data of a stream into the structure; FCODEC_ARGUMENT for a null pointer, and
 * never any other failure.
 */
typedef int (*fcodec_copy)(const void *rec, uint32_t unused, void **bytes, uint32_t *len, uint32_t *owned);
typedef uint32_t (*fcodec_data_size)(const void *rec);
typedef int (*fcodec_apply)(void *rec, const void *data);

/*
 * One field: twelve words, 48 bytes with 32-bit pointers, 56 with 64-bit ones.
 * A string (kind 8) may be binary: always its full width travels, no NUL is looked for or forced. The end row
 * has 0xFFFFFFFF in id, width, offset, word_8, max_width and ones, and 0 in the rest; the id alone tells it.
 * In every other row word_8 is 0 and max_width is the width.
 */
typedef struct fcodec_row {
    uint32_t id;
    uint32_t width;
    uint32_t offset;
    uint32_t kind;              /* enum fcodec_kind */
    fcodec_copy copy;           /* strings only; null: the bytes of the structure */
    fcodec_data_size data_size; /* strings only; not null when `copy` is not */
    uint32_t zero[2];
    uint32_t word_8;
    uint32_t max_width;
    uint32_t ones; /* 0xFFFFFFFF */
    uint32_t zero_11;
} fcodec_row;

/* The header: 16 bytes with 32-bit pointers, 24 with 64-bit ones. The first row follows directly. */
typedef struct fcodec_table {
    uint32_t size;         /* of the structure, in bytes */
    const char *type_name; /* of the structure */
    uint32_t zero[2];
} fcodec_table;

/*
 * What a row does not say about its field. A nested row (kind 0) does not name the other table, and of the
 * three routines of a field of variable data (kind 8) only two have a slot. Whoever brings tables with such
 * rows exports one list of rules, `const fcodec_rule kov_codec_rule_tbl[]`, which ends with a rule whose
 * table is null; the library does (kov_codec.h). The codec looks there, and a process without the list is
 * fine as long as it converts plain fields and strings only: a nested row without a rule makes its table
 * unusable.
 *
 * Data of variable size stands behind the structure, as its tail; the structure keeps its length, a word, in
 * another field, which is encoded before it, and where it stands in the row's four bytes. So a structure that
 * takes a stream with a tail must be larger than its table says: fcodec_table_get_struct_size_from_tlv says
 * how large. Only an outermost structure has a tail, and only one. Structures are at most four deep.
 */
typedef struct fcodec_rule {
    const fcodec_table *table; /* of the structure that has the field */
    uint32_t field_id;
    uint32_t tail_length_id; /* of the field with the tail's length; FCODEC_NO_TAIL for all that is no tail */
    const fcodec_table *nested; /* of the nested structure, as large as the row is wide; else null */
    fcodec_apply apply;         /* takes the field's data back; else null */
} fcodec_rule;

#define FCODEC_NO_TAIL 0xFFFFFFFFu

#ifdef __cplusplus
static_assert(sizeof(fcodec_row) == (sizeof(void *) == 4 ? 48 : 56),
              "a row is twelve words, two of them pointers");
static_assert(sizeof(fcodec_table) == (sizeof(void *) == 4 ? 16 : 24),
              "a header is four words, one a pointer");
#else
_Static_assert(sizeof(fcodec_row) == (sizeof(void *) == 4 ? 48 : 56),
               "a row is twelve words, two of them pointers");
_Static_assert(sizeof(fcodec_table) == (sizeof(void *) == 4 ? 16 : 24),
               "a header is four words, one a pointer");
#endif

/* A walk over the fields of a stream. Its members are the codec's business; nothing to release. */
typedef struct fcodec_field_itr {
    const uint8_t *stream;
    uint32_t stream_len;
    uint32_t at;   /* of the next field, in bytes from the stream's first */
    uint32_t left; /* fields that are still to come */
    uint32_t flags;
    const fcodec_table *table;
    const fcodec_row *row; /* where the search for the next field's row begins */
} fcodec_field_itr;

/* One field of a stream. */
typedef struct fcodec_field {
    uint32_t id;
    uint32_t len;          /* of the value, in bytes */
    const void *value;     /* points into the stream, at any alignment; of a nested record: its own stream */
    const fcodec_row *row; /* the row of the table that the field fills */
} fcodec_field;

/*
 * Encodes `rec` into `buf` of `len` bytes. It writes exactly as many as fcodec_table_size says for the same
 * record, and fails with FCODEC_TOO_SMALL when there is less room. The two must not overlap.
 * The three options are the platform's own, and the library passes its callers' (the replication forms: 0,
 * the caller's, 1). A platform that knows no options encodes the same stream whatever they are.
 */
int fcodec_table_convert_struct_to_tlv(void *buf, uint32_t len, const fcodec_table *t, const void *rec,
                                       uint32_t opt1, uint32_t opt2, uint32_t opt3);

/* Decodes the stream at `tlv` into `out`, a structure of the table's size with room for the tail behind it.
 * `len` is how many bytes can be read at `tlv`; the stream may end before, and what follows it is not looked
 * at. The flag is the platform's own (the library passes 1); a platform that knows none decodes the same
 * whatever it is. */
int fcodec_table_convert_tlv_to_struct(const void *tlv, uint32_t len, void *out, const fcodec_table *t,
                                       uint32_t flag);

/* The bytes that a structure must have to take the stream, its tail included, into `size`. Answers exactly
 * for the streams that can be decoded. `len` 0: as many bytes as the stream itself says can be read. */
int fcodec_table_get_struct_size_from_tlv(uint32_t *size, const void *tlv, uint32_t len,
                                          const fcodec_table *t);

/* The bytes that encoding `rec` writes; 0 on any error. */
uint32_t fcodec_table_size(const fcodec_table *t, const void *rec);

/* Begins a walk over the fields of a stream of `len` bytes that decoding would apply, in the order in which
 * it would, passing over the first `start` of them; `start` may be past the end. The whole stream is checked
 * here. `flags` are the platform's own, 0 for none. */
int fcodec_field_itr_init(fcodec_field_itr *itr, const void *tlv, uint32_t len, const fcodec_table *t,
                          uint32_t flags, uint16_t start);

/* The next field into `out`; FCODEC_END, again and again, when there is none. */
int fcodec_field_itr_get_next(fcodec_field_itr *itr, fcodec_field *out);

/* Copies the value that decoding would leave in the field `field_id` (of a nested record: its stream) to
 * `out`. `*inout_len` is the room there, and becomes the value's size, also with FCODEC_TOO_SMALL.
 * FCODEC_END when the stream or the table does not have the field. */
int fcodec_get_field(const void *tlv, uint32_t len, uint32_t field_id, void *out, uint32_t *inout_len,
                     const fcodec_table *t);

/* Reports an error to whoever watches over the codec. */
void fcodec_error_print(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

/* Memory for the value of a variable field; freed with free. Null when there is none. */
void *fcodec_malloc(uint32_t size);

#ifdef __cplusplus
}
#endif

#endif
