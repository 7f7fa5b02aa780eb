// Cones that say no more than bounds do, that lose members, or that nothing binds.
//
// Of a quadratic cone x1 >= |rest|: head 0 makes all members 0; a member at 0 leaves; with all members but one fixed it
// is a bound of that one; a head in no row, without cost and upper bound grows as it must. A cone of one member, or a
// rotated one of two, is a sign for each. At the end bounds of members go that the head's imply, and bounds of the head
// that the cone implies: each bound of a member costs the optimizer a row. Undo: snx takes from the bounds' duals what
// they did for the cone, and lies in the dual cone whatever they are. A rotated cone with a head at 0 stays: its dual
// need not exist. Cost: O(members) a pass. Permenter and Parrilo 2018 treat reductions of cones systematically.
#include "prslv/prslvstk.h"

#include <utility>

namespace tvn {

namespace {

struct cone_member {
  int32_t j;
  bool tight; // its lower bound of 0 is the cone's
};
struct coneapex_record {
  static constexpr prslv_type types[] = {rt_coneapex};
  using item = int32_t; // members
  int32_t num;
  int64_t numitems() const { return num; }
};
struct conesigns_record {
  static constexpr prslv_type types[] = {rt_conesigns};
  using item = cone_member;
  int32_t num;
  int64_t numitems() const { return num; }
};
// Member j got bounds from the others, which are fixed: the head its lower one, the only other member both.
struct conebound_record {
  static constexpr prslv_type types[] = {rt_conebound};
  using item = prslv_entry; // the others with their values
  int32_t j, num;
  bool head, low, upp;
  double size; // |others|
  int64_t numitems() const { return num; }
};
struct conehead_record {
  static constexpr prslv_type types[] = {rt_conehead};
  using item = int32_t; // the members behind the head
  int32_t j, num;
  double lower;
  int64_t numitems() const { return num; }
};

array_view<int32_t> members(prslv_context& x, int32_t k) {
  return {x.cone.sub.data() + x.cone.beg[k], x.cone.end[k] - x.cone.beg[k]};
}
bool is_rotated(const prslv_context& x, int32_t k) { return x.cone.type[k] == ct_rquad; }
bool is_fixed(const prslv_context& x, int32_t j) { return var_lower(x, j) == var_upper(x, j); }
bool in_quadratic(const prslv_context& x, int32_t j) {
  return !x.q.beg.empty() && (x.q.diag[j] != 0 || x.q.beg[j + 1] > x.q.beg[j]);
}
bool is_idle(const prslv_context& x, int32_t j) {
  return x.varnz[j] == 0 && x.p.c[j] == 0 && !in_quadratic(x, j) && !is_integer(x, j);
}

void leave(prslv_context& x, int32_t j) {
  x.q.term[j] = in_quadratic(x, j) ? prslv_term::objective : prslv_term::none;
  make_due(x, j, x.due);
}

// Dead, with those members that are fixed by now.
void kill_cone(prslv_context& x, int32_t k) {
  const array_view<int32_t> m = members(x, k);
  for (const int32_t j : m) leave(x, j);
  x.cone.end[k] = x.cone.beg[k];
  for (const int32_t j : m)
    if (is_fixed(x, j) && may_fix(x, j, var_lower(x, j))) TVN_prslv_varfix(x, j, var_lower(x, j), rt_varfix);
}

// Members behind the heads that are 0, or may be without any harm, leave.
void drop_members(prslv_context& x, int32_t k) {
  for (int32_t q = x.cone.end[k] - 1, first = x.cone.beg[k] + (is_rotated(x, k) ? 2 : 1); q >= first; q--) {
    const int32_t j = x.cone.sub[q];
    const double lo = var_lower(x, j), up = var_upper(x, j);
    if (!(lo == 0 && up == 0) && !(is_idle(x, j) && lo <= 0 && up >= 0)) continue;
    TVN_prslv_beginpushstk(x, rt_conemember);
    TVN_prslv_endpushstk(x, rt_conemember);
    x.cone.sub[q] = x.cone.sub[--x.cone.end[k]];
    leave(x, j);
    TVN_prslv_varfix(x, j, 0.0, rt_varfix);
  }
}

// Both signs hold by themselves.
void make_signs(prslv_context& x, int32_t k) {
  const array_view<int32_t> m = members(x, k);
  TVN_prslv_beginpushstk(x, rt_conesigns);
  for (const int32_t j : m) push_item(x.stk, cone_member{j, var_lower(x, j) < 0});
  TVN_prslv_endpushstk(x, rt_conesigns, conesigns_record{static_cast<int32_t>(m.size())});
  for (const int32_t j : m)
    if (var_lower(x, j) < 0) TVN_prslv_putvarbounds(x, j, 0.0, var_upper(x, j));
  kill_cone(x, k);
}

void fix_apex(prslv_context& x, int32_t k) {
  const array_view<int32_t> m = members(x, k);
  TVN_prslv_beginpushstk(x, rt_coneapex);
  for (const int32_t j : m) push_item(x.stk, j);
  TVN_prslv_endpushstk(x, rt_coneapex, coneapex_record{static_cast<int32_t>(m.size())});
  for (const int32_t j : m) TVN_prslv_putvarbounds(x, j, 0.0, 0.0);
  kill_cone(x, k);
}

// Member j, the only one that is not fixed, between the bounds that the others give it.
void make_bounds(prslv_context& x, int32_t k, int32_t j, bool head) {
  double squares = 0;
  for (const int32_t q : members(x, k))
    if (q != j) squares += var_lower(x, q) * var_lower(x, q);
  const double size = std::sqrt(squares), lo = var_lower(x, j), up = var_upper(x, j);
  const double newlo = head ? size : -size, newup = head ? prslv_inf : size;
  if (std::max(lo, newlo) > std::min(up, newup)) return; // the optimizer proves it
  TVN_prslv_beginpushstk(x, rt_conebound);
  for (const int32_t q : members(x, k))
    if (q != j) push_item(x.stk, prslv_entry{q, var_lower(x, q)});
  const auto num = static_cast<int32_t>(members(x, k).size()) - 1;
  TVN_prslv_endpushstk(x, rt_conebound, conebound_record{j, num, head, newlo > lo, newup < up, size});
  TVN_prslv_putvarbounds(x, j, std::max(lo, newlo), std::min(up, newup));
  kill_cone(x, k);
}

void drop_head(prslv_context& x, int32_t k) {
  const array_view<int32_t> m = members(x, k);
  const int32_t j = m[0];
  TVN_prslv_beginpushstk(x, rt_conehead);
  for (const int32_t q : m.subspan(1)) push_item(x.stk, q);
  TVN_prslv_endpushstk(x, rt_conehead, conehead_record{j, static_cast<int32_t>(m.size()) - 1, var_lower(x, j)});
  kill_cone(x, k);
  TVN_prslv_varfix(x, j, std::max(0.0, var_lower(x, j)), rt_varfix);
}

void check_cone(prslv_context& x, int32_t k) {
  const array_view<int32_t> m = members(x, k);
  if (m.empty()) return;
  const bool rotated = is_rotated(x, k);
  if (m.size() == 1 || (rotated && m.size() == 2)) return make_signs(x, k);
  if (rotated) return;
  const int32_t head = m[0];
  const auto integer = [&](int32_t j) { return is_integer(x, j); };
  if (std::any_of(m.begin(), m.end(), integer)) return;
  const auto rest = m.subspan(1);
  const auto apart = [&](int32_t j) { return var_lower(x, j) > 0 || var_upper(x, j) < 0; };
  if (var_upper(x, head) == 0 && !(var_lower(x, head) > 0))
    return std::any_of(rest.begin(), rest.end(), apart) ? void() : fix_apex(x, k);
  if (is_idle(x, head) && var_upper(x, head) == prslv_inf) return drop_head(x, k);
  if (std::all_of(rest.begin(), rest.end(), [&](int32_t j) { return is_fixed(x, j); }))
    return make_bounds(x, k, head, true);
  if (rest.size() == 1 && is_fixed(x, head) && var_upper(x, head) > 0) make_bounds(x, k, rest[0], false);
}

} // namespace

void TVN_prslv_checkcones(prslv_context& x) {
  for (int32_t k = 0; k < x.cone.num && !x.run.stop; k++) {
    if (TVN_prslv_stopped(x.run, members(x, k).size())) return;
    drop_members(x, k);
    check_cone(x, k);
  }
}

namespace {

void drop_bounds(prslv_context& x, int32_t j, bool low, bool upp) {
  if ((!low && !upp) || is_fixed(x, j)) return;
  TVN_prslv_beginpushstk(x, rt_conerelax);
  TVN_prslv_endpushstk(x, rt_conerelax);
  TVN_prslv_setvarbounds(x.p, j, low ? -prslv_inf : var_lower(x, j), upp ? prslv_inf : var_upper(x, j));
}

} // namespace

// The members' bounds go by the upper bound of the head, the head's lower one by what is left of theirs: no two hold
// each other up.
void TVN_prslv_relaxcones(prslv_context& x) {
  if (x.param.keepdual) return;
  for (int32_t k = 0; k < x.cone.num; k++) {
    const array_view<int32_t> m = members(x, k);
    if (TVN_prslv_stopped(x.run, m.size())) return;
    if (m.empty()) continue;
    const int32_t heads = is_rotated(x, k) ? 2 : 1;
    double reach = var_upper(x, m[0]), least = 0;
    if (heads == 2) reach = std::sqrt(2 * std::max(0.0, reach)) * std::sqrt(std::max(0.0, var_upper(x, m[1])));
    for (const int32_t j : m.subspan(heads)) {
      drop_bounds(x, j, var_lower(x, j) > -prslv_inf && var_lower(x, j) <= -reach,
                  var_upper(x, j) < prslv_inf && var_upper(x, j) >= reach);
      least = std::max({least, var_lower(x, j), -var_upper(x, j)});
    }
    for (const int32_t j : m.first(heads)) {
      const double lo = var_lower(x, j);
      drop_bounds(x, j, lo > -prslv_inf && lo <= (heads == 1 ? least : 0.0), false);
    }
  }
}

namespace {

// What bounds and cone bear together, and what the cone leaves to the bounds.
double reduced(const solution_view& s, int32_t j) { return s.slx[j] - s.sux[j]; }
void share(solution_view& s, int32_t j, double d, double snx) {
  s.snx[j] = snx;
  TVN_prslv_splitdual(d - snx, sk_unk, s.slx[j], s.sux[j]);
}

} // namespace

// The members' reduced costs are the cone's; the head's makes up to their length, and its upper bound bears the rest.
void prslv_undoconeapex(prslv_post& w) {
  const auto [r, m] = TVN_prslv_poprecord<coneapex_record>(w.x.stk);
  solution_view& s = w.s;
  double squares = 0;
  for (const int32_t j : m.subspan(1)) {
    const double d = reduced(s, j);
    share(s, j, d, d);
    squares += d * d;
  }
  const double d = reduced(s, m[0]);
  share(s, m[0], d, std::max(d, std::sqrt(squares)));
  for (const int32_t j : m) s.skx[j] = sk_unk;
}

void prslv_undoconesigns(prslv_post& w) {
  for (const cone_member& e : TVN_prslv_poprecord<conesigns_record>(w.x.stk).items)
    if (e.tight)
      w.s.snx[e.j] = std::exchange(w.s.slx[e.j], 0.0);
    else
      w.s.snx[e.j] = 0;
}

// The duals of the bounds that came from the cone are the cone's; the fixed members' reduced costs go on to their
// bounds less what their place in it asks for.
void prslv_undoconebound(prslv_post& w) {
  const auto [r, others] = TVN_prslv_poprecord<conebound_record>(w.x.stk);
  solution_view& s = w.s;
  const double low = r.low ? std::exchange(s.slx[r.j], 0.0) : 0, upp = r.upp ? std::exchange(s.sux[r.j], 0.0) : 0;
  s.snx[r.j] = low - upp;
  for (const auto& [j, value] : others) {
    const double part = r.head ? (r.size > 0 ? -low * (value / r.size) : 0.0) : low + upp;
    share(s, j, reduced(s, j), part);
  }
}

void prslv_undoconehead(prslv_post& w) {
  const auto [r, rest] = TVN_prslv_poprecord<conehead_record>(w.x.stk);
  solution_view& s = w.s;
  double squares = 0;
  for (const int32_t j : rest) {
    squares += s.xx[j] * s.xx[j];
    s.snx[j] = 0;
  }
  const double least = r.lower > 0 ? w.pf * r.lower : 0;
  s.xx[r.j] = std::max(least, std::sqrt(squares));
  s.snx[r.j] = s.slx[r.j] = s.sux[r.j] = 0;
  s.skx[r.j] = sk_unk;
}

} // namespace tvn
