// Names of variables, constraints, cones and the objective: one pool of characters and a hash map per kind.
//
// pool[0] is 0, and offset 0 means no name, so an item without one reads as "". The used part of the pool ends at
// size - free; a name that was replaced by a longer one leaves a hole until the pool is next rebuilt. Maps are made on
// first need and dropped whenever offsets move; an item without a name is in no map. Within a kind names differ.
#pragma once

#include "misc/hashtbl.h"
#include "tovan.h"

#include <array>

struct TVNtask;

namespace tvn {

struct namestore {
  buffer<char> pool;
  int64_t poolsize = 0;
  int64_t poolfree = 0;                // surplus at the end of the pool
  numbered<buffer<int64_t>, 3> offset; // by TVN_PI_*: [maxnumvar], [maxnumcon], [maxnumcone]
  int64_t objoffset = 0;
  numbered<htbl, 3> map;

  const char* at(int64_t off) const noexcept { return pool.empty() ? "" : pool.data() + off; }
};

struct name_stats {
  int64_t poolsize = 0, poolfree = 0;
  int64_t numchars = 0; // in the names of all items and of the objective
  int64_t numempty = 0; // items without a name
  int64_t maxlen = 0;
};

// The name as it stands in the pool, valid to the next change of a name or a capacity.
const char* item_name(const TVNtask& t, int32_t item, int32_t i) noexcept;
const char* objective_name(const TVNtask& t) noexcept;

TVNrescodee put_name(TVNtask& t, int32_t item, int32_t i, const char* name);
// Names an item that has none. The name is known to be no other's of its kind, so no map is made to look it up.
void append_name(TVNtask& t, int32_t item, int32_t i, std::string_view name);
TVNrescodee put_objname(TVNtask& t, const char* name);
// Index by name, or -1.
int32_t find_name(TVNtask& t, int32_t item, const char* name);
name_stats TVN_getnamestats(const TVNtask& t) noexcept;

void TVN_makenamemap(TVNtask& t, int32_t item);
void TVN_deletenamemap(namestore& names, int32_t item) noexcept;
// Packs the names and leaves at least `need` free characters at the end of the pool.
void TVN_chgnamespc(TVNtask& t, int64_t need);
// Two items of a kind change names; the map of the kind is dropped.
void TVN_swapname(TVNtask& t, int32_t item, int32_t i, int32_t k) noexcept;
// Item first + k becomes item map[k], -1: its name goes, for the last `count` items; work: [count].
void TVN_permuteandremovenames(TVNtask& t, int32_t item, int32_t first, int32_t count, const int32_t* map,
                               int64_t* work) noexcept;

// Writes "x%d", "c%d" or "k%d" with the index plus TVN_IPAR_WRITE_GENERIC_NAMES_IO when generic is set, else the name.
// The length is told even when maxlen is too small for it.
TVNrescodee TVN_getnamex(TVNtask& t, int32_t item, int32_t i, int64_t maxlen, int64_t& len, char* name, bool generic);
// True when the name, to be written to a file, needs double quotes: it holds one of badchars and no double quote.
bool TVN_getwritename(const char* name, const char* badchars) noexcept;

} // namespace tvn
