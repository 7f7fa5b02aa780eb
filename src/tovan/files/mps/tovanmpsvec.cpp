// RHS, RANGES and BOUNDS: one vector of each is used, the one that a parameter names or else the first.
//
// Values are put as they come, so a later line sees what an earlier one left: RANGES looks at the key that the row has
// then, a bound keeps the other side that the variable has then. The right-hand side of the objective row is minus the
// constant of the objective; those of other rows of type N say nothing.
#include "tovan/files/mps/tovanmps.h"

#include "tovan/data/data.h"
#include "tovan/task/index.h"
#include "tovan/task/param.h"
#include "tovan/task/report.h"

#include <cmath>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/tovanmpsvec";

// Which lines of a section belong to the vector that is used. A vector that other vectors interrupt is told once.
struct vector_choice {
  const char* what; // in the log
  TVNrescodee splitcode;
  vec<char> chosen;
  bool known = false; // the name is chosen
  bool started = false, left = false, warned = false;

  vector_choice(const mps_reader& r, int32_t param, const char* what_, TVNrescodee code)
      : what(what_), splitcode(code), chosen(*r.t.sys) {
    const std::string_view name = TVNP_getstrparam(r.t, param);
    if (!name.empty()) choose(name);
  }

  void choose(std::string_view name) {
    chosen.append(name.data(), static_cast<int64_t>(name.size()));
    known = true;
  }

  TVNrescodee use(mps_reader& r, std::string_view name, bool& used) {
    if (!known) choose(name);
    used = name == std::string_view(chosen.data(), static_cast<size_t>(chosen.size()));
    if (!used) {
      left = started;
      return TVN_RES_OK;
    }
    if (!started) mps_log_using(r, name, what);
    started = true;
    if (!left || warned) return TVN_RES_OK;
    warned = true;
    return mps_bad_name(r, splitcode, name);
  }
};

// A number that no double holds is read as infinite, and an infinite bound is 1e30.
double bound_within(double value) noexcept { return std::clamp(value, -bound_infinity, bound_infinity); }

// Calls `put(i, value)` for the pairs of a line; a blank name with value 0 is passed over.
template <class Put> TVNrescodee each_pair(mps_reader& r, const mps_fields& f, Put&& put) {
  const auto one = [&](std::string_view name, double value, bool second) -> TVNrescodee {
    if (name.empty() && value == 0) return TVN_RES_OK;
    if (name.empty()) return mps_fail(r, report(r.t, label, __LINE__, TVN_RES_ERR_MPS_NULL_CON_NAME));
    int32_t i = 0;
    if (const TVNrescodee bad = mps_find_row(r, name, i)) return bad;
    return mps_fail(r, put(i, value, second));
  };
  const TVNrescodee bad = one(f.name3, f.value4, false);
  return bad ? bad : one(f.name5, f.value6, true);
}

TVNrescodee put_rhs(mps_reader& r, int32_t i, double value, bool second) {
  if (r.isfree[i]) {
    if (i != r.objrow) return TVN_RES_OK;
    r.fixedterm = -value;
    return std::isfinite(value) ? TVN_RES_OK : report(r.t, label, __LINE__, TVN_RES_ERR_MPS_INV_FIELD, second ? 6 : 4);
  }
  if (second && std::fabs(value) >= TVNP_getdouparam(r.t, TVN_DPAR_DATA_TOL_BOUND_WRN)) {
    const TVNrescodee bad = report(r.t, label, __LINE__, TVN_RES_WRN_LARGE_BOUND, value, "constraint", r.rows.text(i),
                                   TVN_userindex(r.t, i));
    if (bad) return bad;
  }
  const int32_t key = get_bound(r.t.prob, TVN_ACC_CON, i).bk;
  const double lower = key == TVN_BK_UP ? -bound_infinity : bound_within(value);
  const double upper = key == TVN_BK_LO ? bound_infinity : bound_within(value);
  return put_bound(r.t, TVN_ACC_CON, i, key, lower, upper);
}

TVNrescodee put_range(mps_reader& r, int32_t i, double range) {
  const bound_value b = get_bound(r.t.prob, TVN_ACC_CON, i);
  const double width = std::fabs(range);
  double lower = b.bl, upper = b.bu;
  switch (b.bk) {
  case TVN_BK_LO: upper = b.bl + width; break;
  case TVN_BK_UP: lower = b.bu - width; break;
  case TVN_BK_FX:
    if (range == 0) return TVN_RES_OK;
    (range > 0 ? upper : lower) += range;
    break;
  default: return TVN_RES_OK;
  }
  return put_bound(r.t, TVN_ACC_CON, i, range == 0 ? TVN_BK_FX : TVN_BK_RA, lower, upper);
}

// ---- BOUNDS ----

enum class bound_type { mi, pl, bv, fr, fx, lo, li, up, ui, unknown };

bound_type find_bound_type(std::string_view key) noexcept {
  constexpr const char* words[] = {"MI", "PL", "BV", "FR", "FX", "LO", "LI", "UP", "UI"};
  int32_t k = 0;
  while (k < 9 && key != words[k]) k++;
  return static_cast<bound_type>(k);
}

TVNrescodee make_integer(mps_reader& r, int32_t j) {
  return r.keepint ? TVN_putvartype(&r.t, j, TVN_VAR_TYPE_INT) : TVN_RES_OK;
}

TVNrescodee put_lower(mps_reader& r, int32_t j, const bound_value& b, double value) {
  const bool both = has_upper(b.bk);
  return put_bound(r.t, TVN_ACC_VAR, j, both ? TVN_BK_RA : TVN_BK_LO, value, both ? b.bu : bound_infinity);
}

TVNrescodee put_upper(mps_reader& r, int32_t j, const bound_value& b, double value) {
  const bool both = has_lower(b.bk);
  return put_bound(r.t, TVN_ACC_VAR, j, both ? TVN_BK_RA : TVN_BK_UP, both ? b.bl : -bound_infinity, value);
}

TVNrescodee put_typed_bound(mps_reader& r, bound_type type, int32_t j, double value) {
  task& t = r.t;
  const bound_value b = get_bound(t.prob, TVN_ACC_VAR, j);
  if (type == bound_type::bv || type == bound_type::li || type == bound_type::ui) {
    if (const TVNrescodee bad = make_integer(r, j)) return bad;
  }
  switch (type) {
  case bound_type::mi:
    return put_bound(t, TVN_ACC_VAR, j, has_upper(b.bk) ? TVN_BK_UP : TVN_BK_FR, -bound_infinity, b.bu);
  case bound_type::pl:
    return put_bound(t, TVN_ACC_VAR, j, has_lower(b.bk) ? TVN_BK_LO : TVN_BK_FR, b.bl, bound_infinity);
  case bound_type::bv: return put_bound(t, TVN_ACC_VAR, j, TVN_BK_RA, 0.0, 1.0);
  case bound_type::fr: return put_bound(t, TVN_ACC_VAR, j, TVN_BK_FR, -bound_infinity, bound_infinity);
  case bound_type::fx: return put_bound(t, TVN_ACC_VAR, j, TVN_BK_FX, value, value);
  case bound_type::lo: return put_lower(r, j, b, value);
  case bound_type::li: return put_lower(r, j, b, std::ceil(value));
  case bound_type::up: return put_upper(r, j, b, value);
  case bound_type::ui: return put_upper(r, j, b, std::floor(value));
  case bound_type::unknown: break;
  }
  return TVN_RES_OK;
}

} // namespace

TVNrescodee mps_read_rhs(mps_reader& r) {
  vector_choice choice(r, TVN_SPAR_READ_MPS_RHS_NAME, "rhs", TVN_RES_WRN_MPS_SPLIT_RHS_VECTOR);
  return mps_each_line(r, mps_section::rhs, [&](const mps_fields& f) {
    bool used = false;
    const TVNrescodee bad = choice.use(r, f.name2, used);
    if (bad || !used) return bad;
    return each_pair(r, f, [&](int32_t i, double value, bool second) { return put_rhs(r, i, value, second); });
  });
}

TVNrescodee mps_read_ranges(mps_reader& r) {
  vector_choice choice(r, TVN_SPAR_READ_MPS_RAN_NAME, "range", TVN_RES_WRN_MPS_SPLIT_RAN_VECTOR);
  return mps_each_line(r, mps_section::ranges, [&](const mps_fields& f) {
    bool used = false;
    const TVNrescodee bad = choice.use(r, f.name2, used);
    if (bad || !used) return bad;
    return each_pair(r, f, [&](int32_t i, double value, bool) { return put_range(r, i, value); });
  });
}

TVNrescodee mps_read_bounds(mps_reader& r) {
  vector_choice choice(r, TVN_SPAR_READ_MPS_BOU_NAME, "bound", TVN_RES_WRN_MPS_SPLIT_BOU_VECTOR);
  return mps_each_line(r, mps_section::bounds, [&](const mps_fields& f) {
    bool used = false;
    TVNrescodee bad = choice.use(r, f.name2, used);
    if (bad || !used) return bad;
    const bound_type type = find_bound_type(f.key);
    if (type == bound_type::unknown) return mps_bad_name(r, TVN_RES_ERR_MPS_INV_BOUND_KEY, f.key);
    int32_t j = 0;
    if ((bad = mps_find_var(r, f.name3, j))) return bad;
    return mps_fail(r, put_typed_bound(r, type, j, bound_within(f.value4)));
  });
}

} // namespace tvn
