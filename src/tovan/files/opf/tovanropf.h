// The OPF reader and what its parts share.
#pragma once

#include "tovan/files/lp/formula.h"

namespace tvn {

// What a file tells of one variable or constraint in one solution.
struct opf_item {
  int32_t whichsol, accmode, index, sk;
  double lvl, y, sl, su, sn;
};

// The bounds of "*": of each side the latest, and how many bounds there were when it came. A variable takes what it has
// missed when it is changed next, or at the end, so that many of them cost no more than one.
struct star_bounds {
  int32_t num = 0, lowerat = 0, upperat = 0;
  stated_bounds latest;
};

struct opf_reader {
  formula_reader r;
  draft_hints hints;
  bool hasobjective = false;
  star_bounds stars;
  vec<opf_item> items;
  bool hassolution[3] = {false, false, false};

  opf_reader(task& t, sysfile& file);
};

// Reads the open file, whose name stands in messages. What stands before a fault is entered.
TVNrescodee TVN_readopf(task& t, sysfile& file, const char* name);

// ---- shared by the files of the reader ----

bool is_tag(const opf_reader& f, std::string_view word) noexcept; // the present token, a name
// The present token is of this kind and passed.
TVNrescodee opf_take(opf_reader& f, token_kind kind);
// "[/word]" is passed.
TVNrescodee opf_close(opf_reader& f, std::string_view word);
// A name, if one stands there.
void opf_take_name(opf_reader& f, vec<char>& name);
// The section of this name goes by with all that it holds; its head is not yet passed.
TVNrescodee opf_skip(opf_reader& f, std::string_view name);

// The parts of a section, its own head passed: `part` gets each with the name of its tag as the present token.
template <class Part> TVNrescodee opf_each_part(opf_reader& f, std::string_view section, Part&& part) {
  formula_reader& r = f.r;
  for (;;) {
    if (r.lx.tok.kind != token_kind::lbracket) return syntax_error(r);
    next_token(r.lx);
    if (r.lx.tok.kind != token_kind::string) return syntax_error(r);
    if (r.lx.tok.text[0] == '/') {
      if (!is_tag(f, section)) return syntax_error(r);
      next_token(r.lx);
      return opf_take(f, token_kind::rbracket);
    }
    if (const TVNrescodee bad = part()) return bad;
  }
}

TVNrescodee opf_read_solutions(opf_reader& f);
TVNrescodee opf_read_vendor(opf_reader& f);
// The solutions of the file go to the task, which has its problem.
TVNrescodee opf_put_solutions(opf_reader& f);

} // namespace tvn
