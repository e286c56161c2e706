// The entry points of the fuzz targets: each takes one input, runs it
// through one reader of the channel's files, and checks the promises that
// the reader's header makes about its outputs.  The libFuzzer programs
// (fuzz_target.cpp) and the replay test of the kept inputs
// (tests/tst_fuzz_regressions.cpp) call the same functions, so an input
// that once broke a reader is replayed by the normal suite.
//
// Files go under a private ORVANE_ROOT made on the first call (and removed
// at exit): "<root>/cell/tables/fuzz.tbl", "fuzz.save", "fuzz.poly_range",
// "uut_ref_data/fuzz.uut" and "fuzz.ref".  The host log of that root is
// /dev/null, so that millions of refusals do not fill the disk.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Splits an input that carries two files: the bytes before the first
// kFuzzSplitMarker and those after it.  Without the marker the second
// file is absent.
constexpr char kFuzzSplitMarker[] = "\n=====next file=====\n";

// Each returns the empty text when every promise held, else what broke.
//
//   read_table        the input is a .tbl
//   read_archive      a .save, then (after the marker) the .poly_range
//                     sibling, which the record names "/cell/tables/fuzz.poly_range"
//   get_1st_line      byte 0: the buffer size (0: no buffer); then the
//                     keyword up to the first newline; the rest is the stream
//   split_value_units the input up to its first NUL is the text
//   uut_ref           a .uut, then (after the marker) the .ref; without
//                     the marker both files hold the input
std::string fuzz_read_table(const uint8_t *data, size_t size);
std::string fuzz_read_archive(const uint8_t *data, size_t size);
std::string fuzz_get_1st_line(const uint8_t *data, size_t size);
std::string fuzz_split_value_units(const uint8_t *data, size_t size);
std::string fuzz_uut_ref(const uint8_t *data, size_t size);
//   history_archive   the history program's reading of a whole .save, then
//                     (after the marker) the .poly_range sibling, as for
//                     read_archive
std::string fuzz_history_archive(const uint8_t *data, size_t size);

struct FuzzTarget {
    const char *name; // also the folder of its corpus and kept inputs
    std::string (*run)(const uint8_t *data, size_t size);
};

// The six targets above, by name.
const FuzzTarget *fuzz_targets(size_t *count);
const FuzzTarget *fuzz_target(const char *name);
