// Solutions and parameters of an OPF file.
//
// A solution is kept aside until the problem stands, and its status is unknown then: a file proves nothing.
#include "tovan/files/opf/tovanropf.h"

#include "misc/numtext.h"
#include "tovan/files/text/textwrite.h"
#include "tovan/solution/sol.h"
#include "tovan/task/log.h"
#include "tovan/task/param.h"
#include "tovan/task/report.h"
#include "tovan/task/symcontext.h"

#include <limits>

namespace tvn {

namespace {

constexpr const char* long_keys[] = {"unk", "bas", "supbas", "low", "upr", "fix", "inf"}; // by TVN_SK_*

// The status key of the present token, long or short, which is passed; -1 for none.
int32_t take_status_key(opf_reader& f) {
  lexer& lx = f.r.lx;
  if (lx.tok.kind == token_kind::asterisk) { // "**"
    next_token(lx);
    if (lx.tok.kind != token_kind::asterisk) return -1;
    next_token(lx);
    return TVN_SK_INF;
  }
  if (lx.tok.kind == token_kind::kw_infinity) {
    next_token(lx);
    return TVN_SK_INF;
  }
  if (lx.tok.kind != token_kind::string) return -1;
  for (int32_t sk = TVN_SK_UNK; sk <= TVN_SK_INF; sk++) {
    if (!is_word(lx.tok.text, long_keys[sk]) && lx.tok.text != status_key_word(sk)) continue;
    next_token(lx);
    return sk;
  }
  return -1;
}

TVNrescodee take_real(opf_reader& f, double& value) {
  lexer& lx = f.r.lx;
  if (lx.tok.kind != token_kind::string || !is_word(lx.tok.text, "nan")) return read_value(f.r, value);
  value = std::numeric_limits<double>::quiet_NaN();
  next_token(lx);
  return TVN_RES_OK;
}

// key "=" value, up to the tag that closes the item.
TVNrescodee read_item_values(opf_reader& f, opf_item& item) {
  formula_reader& r = f.r;
  while (r.lx.tok.kind == token_kind::string) {
    const bool issk = is_tag(f, "sk");
    double* value = is_tag(f, "lvl")  ? &item.lvl
                    : is_tag(f, "y")  ? &item.y
                    : is_tag(f, "sl") ? &item.sl
                    : is_tag(f, "su") ? &item.su
                    : is_tag(f, "sn") ? &item.sn
                                      : nullptr;
    if (!issk && !value) return syntax_error(r);
    next_token(r.lx);
    if (const TVNrescodee bad = opf_take(f, token_kind::eq)) return bad;
    if (value) {
      if (const TVNrescodee bad = take_real(f, *value)) return bad;
    } else if ((item.sk = take_status_key(f)) < 0) {
      return syntax_error(r);
    }
  }
  return TVN_RES_OK;
}

// numcon: constraints that this solution has told of; one without a name is the next.
TVNrescodee read_item(opf_reader& f, int32_t whichsol, bool isvar, int32_t& numcon) {
  formula_reader& r = f.r;
  opf_item item{whichsol, isvar ? TVN_ACC_VAR : TVN_ACC_CON, 0, TVN_SK_UNK, 0, 0, 0, 0, 0};
  next_token(r.lx);
  const bool named = is_name(r.lx.tok.kind);
  if (isvar) {
    if (!named) return syntax_error(r);
    if (const TVNrescodee bad = take_variable(r, item.index)) return bad;
  } else {
    item.index = named ? r.draft.cons.find(r.lx.tok.text) : numcon;
    if (item.index < 0 || item.index >= r.draft.cons.size()) return syntax_error(r);
    numcon++;
  }
  if (named) next_token(r.lx);
  if (const TVNrescodee bad = opf_take(f, token_kind::rbracket)) return bad;
  if (const TVNrescodee bad = read_item_values(f, item)) return bad;
  f.items.push_back(item);
  return opf_close(f, isvar ? "var" : "con");
}

int32_t solution_of(const opf_reader& f) noexcept {
  if (f.r.lx.tok.kind != token_kind::string) return -1;
  if (is_tag(f, "bas") || is_tag(f, "basic")) return TVN_SOL_BAS;
  if (is_tag(f, "itr") || is_tag(f, "interior")) return TVN_SOL_ITR;
  return is_tag(f, "int") || is_tag(f, "integer") ? TVN_SOL_ITG : -1;
}

TVNrescodee read_solution(opf_reader& f) {
  formula_reader& r = f.r;
  next_token(r.lx);
  const int32_t whichsol = solution_of(f);
  if (whichsol < 0) return syntax_error(r);
  f.hassolution[whichsol] = true;
  next_token(r.lx);
  if (r.lx.tok.kind == token_kind::string && is_tag(f, "status")) { // the word is for people
    next_token(r.lx);
    if (const TVNrescodee bad = opf_take(f, token_kind::eq)) return bad;
    if (!is_name(r.lx.tok.kind)) return syntax_error(r);
    next_token(r.lx);
  }
  if (const TVNrescodee bad = opf_take(f, token_kind::rbracket)) return bad;
  int32_t numcon = 0;
  return opf_each_part(f, "/solution", [&] {
    const bool isvar = is_tag(f, "var");
    return isvar || is_tag(f, "con") ? read_item(f, whichsol, isvar, numcon) : opf_skip(f, f.r.lx.tok.text);
  });
}

// ---- parameters ----

TVNrescodee put_parameter(opf_reader& f, const char* name, const char* value) {
  task& t = f.r.t;
  int32_t partype = 0, param = 0;
  if (TVNP_getintparam(t, TVN_IPAR_LOG_PARAM) > 0) echo(t, TVN_STREAM_LOG, "%-36s %-s\n", name, value);
  if (const TVNrescodee bad = TVN_whichparam(&t, name, &partype, &param)) return fail_at(f.r, bad);
  return fail_at(f.r, put_param_text(t, partype, param, name, value));
}

TVNrescodee read_parameter(opf_reader& f) {
  formula_reader& r = f.r;
  text name(*r.t.sys), value(*r.t.sys);
  next_token(r.lx);
  if (!is_name(r.lx.tok.kind)) return syntax_error(r);
  name.assign(r.lx.tok.text);
  next_token(r.lx);
  if (const TVNrescodee bad = opf_take(f, token_kind::rbracket)) return bad;
  if (r.lx.tok.kind == token_kind::qstring) {
    value.assign(r.lx.tok.text);
    next_token(r.lx);
  } else {
    r.lx.at = r.lx.start; // any text up to the tag; two quotes are the empty one
    const std::string_view plain = trim(take_until(r.lx, '[', false));
    value.assign(plain == "''" ? std::string_view{} : plain);
    next_token(r.lx);
  }
  if (r.lx.tok.kind != token_kind::lbracket) return syntax_error(r);
  if (const TVNrescodee bad = put_parameter(f, name.c_str(), value.c_str())) return bad;
  return opf_close(f, "p");
}

TVNrescodee read_parameters(opf_reader& f) {
  next_token(f.r.lx);
  if (const TVNrescodee bad = opf_take(f, token_kind::rbracket)) return bad;
  return opf_each_part(f, "/parameters",
                       [&] { return is_tag(f, "p") ? read_parameter(f) : opf_skip(f, f.r.lx.tok.text); });
}

// ---- the way into the task ----

// A vector of one solution by the indices of one side.
struct solution_arrays {
  buffer<int32_t> skc, skx;
  buffer<double> xc, xx, y, slc, suc, slx, sux, snx;

  solution_arrays(sysenv& sys, int32_t numcon, int32_t numvar)
      : skc(sys, numcon, TVN_SK_UNK), skx(sys, numvar, TVN_SK_UNK), xc(sys, numcon, 0.0), xx(sys, numvar, 0.0),
        y(sys, numcon, 0.0), slc(sys, numcon, 0.0), suc(sys, numcon, 0.0), slx(sys, numvar, 0.0), sux(sys, numvar, 0.0),
        snx(sys, numvar, 0.0) {}

  void take(const opf_item& e) noexcept {
    const bool con = e.accmode == TVN_ACC_CON;
    (con ? skc : skx)[e.index] = e.sk;
    (con ? xc : xx)[e.index] = e.lvl;
    (con ? slc : slx)[e.index] = e.sl;
    (con ? suc : sux)[e.index] = e.su;
    (con ? y : snx)[e.index] = con ? e.y : e.sn;
  }
};

} // namespace

TVNrescodee opf_read_solutions(opf_reader& f) {
  next_token(f.r.lx);
  if (const TVNrescodee bad = opf_take(f, token_kind::rbracket)) return bad;
  return opf_each_part(f, "/solutions",
                       [&] { return is_tag(f, "solution") ? read_solution(f) : opf_skip(f, f.r.lx.tok.text); });
}

TVNrescodee opf_read_vendor(opf_reader& f) {
  formula_reader& r = f.r;
  next_token(r.lx);
  const bool ours = r.lx.tok.kind == token_kind::string && is_tag(f, "tovan");
  if (!ours) return opf_skip(f, "vendor");
  next_token(r.lx);
  if (const TVNrescodee bad = opf_take(f, token_kind::rbracket)) return bad;
  return opf_each_part(f, "/vendor",
                       [&] { return is_tag(f, "parameters") ? read_parameters(f) : opf_skip(f, f.r.lx.tok.text); });
}

TVNrescodee opf_put_solutions(opf_reader& f) {
  task& t = f.r.t;
  for (const int32_t whichsol : {TVN_SOL_BAS, TVN_SOL_ITR, TVN_SOL_ITG}) {
    if (!f.hassolution[whichsol]) continue;
    solution_arrays s(*t.sys, t.prob.numcon, t.prob.numvar);
    for (const opf_item& e : f.items)
      if (e.whichsol == whichsol) s.take(e);
    const TVNrescodee bad =
        TVN_putsolution(&t, whichsol, s.skc.data(), s.skx.data(), nullptr, s.xc.data(), s.xx.data(), s.y.data(),
                        s.slc.data(), s.suc.data(), s.slx.data(), s.sux.data(), s.snx.data());
    if (bad) return bad;
  }
  return TVN_RES_OK;
}

} // namespace tvn
