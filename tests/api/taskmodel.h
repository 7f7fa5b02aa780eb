// What a task must hold after a call, kept in the plainest containers and changed by the plainest code.
//
// One record per variable, constraint, cone and solution entry, so that nothing can get out of step; the rules that
// lower the statuses are the tables of the documentation, typed again.
#pragma once

#include "tovan.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace apitest {

template <class V> auto& on(V& v, int32_t i) { return v[static_cast<size_t>(i)]; }
template <class V> int32_t len(const V& v) { return static_cast<int32_t>(v.size()); }

constexpr double endless = 1e30, threshold = 1e16;

struct model_bound {
  int32_t bk;
  double bl, bu; // as read: infinite where the key has no side
  bool lower() const { return bk == TVN_BK_LO || bk == TVN_BK_FX || bk == TVN_BK_RA; }
  bool upper() const { return bk == TVN_BK_UP || bk == TVN_BK_FX || bk == TVN_BK_RA; }
};

inline model_bound read_form(int32_t bk, double bl, double bu) {
  if (bk == TVN_BK_FX) bu = bl;
  model_bound b{bk, bl, bu};
  const bool lower = b.lower() && bl > -threshold, upper = b.upper() && bu < threshold;
  if (!lower || !upper) b.bk = lower ? TVN_BK_LO : upper ? TVN_BK_UP : TVN_BK_FR;
  return {b.bk, lower ? bl : -endless, upper ? bu : endless};
}

struct model_entry { // of a variable or a constraint in one solution
  int32_t sk = TVN_SK_UNK;
  double x = 0, y = 0, sl = 0, su = 0, sn = 0;
};

struct model_item {
  model_bound b;
  std::string name;
  std::array<model_entry, 3> sol{};
  double c = 0;                                      // of a variable
  int32_t type = 0, pri = 0, dir = 0;                // likewise
  std::map<std::pair<int32_t, int32_t>, double> q{}; // of a constraint
};

struct model_cone {
  int32_t type;
  double par;
  std::vector<int32_t> members;
  std::string name;
  int32_t sk = TVN_SK_UNK; // in the interior solution
};

struct model_slot {
  bool made = false, defined = false;
  int32_t prosta = 0, solsta = 0;
};

using status_table = std::map<int32_t, int32_t>;
inline int32_t kept(const status_table& t, int32_t s) { return t.count(s) ? t.at(s) : 0; }
inline int32_t moved(const status_table& t, int32_t s) { return t.count(s) ? t.at(s) : s; }

struct task_model {
  std::vector<model_item> var, con;
  std::vector<model_cone> cone;
  std::map<std::pair<int32_t, int32_t>, double> a; // row, column
  std::map<std::pair<int32_t, int32_t>, double> qobj;
  std::array<model_slot, 3> slot;
  int32_t maxvar = 0, maxcon = 0, sense = 0;
  double cfix = 0;
  std::string objname;

  std::vector<model_item>& side(int32_t accmode) { return accmode == TVN_ACC_CON ? con : var; }

  template <class Rule> void each_defined(Rule rule) {
    for (int32_t w = 0; w < 3; w++)
      if (on(slot, w).defined) rule(w, on(slot, w));
  }
  void forget_statuses() {
    each_defined([](int32_t, model_slot& s) { s.prosta = s.solsta = 0; });
  }
  void cost_changed() {
    each_defined([](int32_t, model_slot& s) {
      s.prosta = kept({{1, 2}, {2, 2}, {4, 4}, {6, 4}, {8, 9}, {9, 9}}, s.prosta);
      s.solsta = kept({{1, 2}, {2, 2}, {4, 2}, {14, 2}, {5, 5}, {9, 9}, {11, 9}}, s.solsta);
    });
  }
  void column_changed(int32_t j) {
    each_defined([&](int32_t w, model_slot& s) {
      const bool nonzero = std::fabs(on(on(var, j).sol, w).x) > 1e-8;
      s.prosta = nonzero ? kept({{1, 2}, {2, 2}, {8, 9}, {9, 9}}, s.prosta) : 0;
      s.solsta = nonzero ? kept({{1, 2}, {2, 2}, {4, 2}, {14, 2}, {9, 9}, {11, 9}}, s.solsta) : 0;
    });
  }
  void bound_changed(int32_t accmode, int32_t i, const model_bound& old) {
    model_item& item = on(side(accmode), i);
    const model_bound& now = item.b;
    each_defined([&](int32_t w, model_slot& s) {
      model_entry& e = on(item.sol, w);
      const double tol = w == TVN_SOL_BAS ? 1e-6 : 1e-8;
      const auto tighten = [&](bool violated) {
        s.prosta = moved({{6, 4}, {5, 0}, {7, 0}}, s.prosta);
        if (!violated) return;
        s.prosta = moved({{1, 3}, {8, 10}, {2, 0}, {9, 0}}, s.prosta);
        s.solsta = moved({{1, 3}, {4, 3}, {8, 10}, {11, 10}, {2, 0}, {6, 0}, {9, 0}, {14, 0}}, s.solsta);
      };
      if (now.lower() && (!old.lower() || now.bl > old.bl + tol)) tighten(e.x < now.bl - tol);
      if (now.upper() && (!old.upper() || now.bu < old.bu - tol)) tighten(e.x > now.bu + tol);
      const bool dropped = (old.lower() && !now.lower()) || (old.upper() && !now.upper());
      if (dropped) {
        s.prosta = moved({{1, 2}, {8, 9}, {3, 0}, {10, 0}}, s.prosta);
        s.solsta = moved({{1, 2}, {4, 2}, {14, 2}, {8, 9}, {11, 9}, {3, 0}, {10, 0}}, s.solsta);
      }
      const bool wider = (now.lower() && now.bl < old.bl - tol) || (now.upper() && now.bu > old.bu + tol);
      if (dropped || wider || (old.bk == TVN_BK_FR && now.bk == TVN_BK_FR)) {
        s.prosta = moved({{6, 5}, {4, 0}, {7, 0}}, s.prosta);
        s.solsta = moved({{1, 4}, {14, 2}, {8, 11}, {5, 0}}, s.solsta);
      }
      const double g = s.solsta == 5 || s.solsta == 6 ? 0 : 1;
      const bool atlower = now.lower() && std::fabs(e.x - g * now.bl) <= tol;
      const bool atupper = now.upper() && std::fabs(e.x - g * now.bu) <= tol;
      if ((e.sk == TVN_SK_LOW && !atlower) || (e.sk == TVN_SK_UPR && !atupper) ||
          (e.sk == TVN_SK_FIX && !(atlower && atupper)))
        e.sk = TVN_SK_UNK;
    });
  }
  void put_bound(int32_t accmode, int32_t i, int32_t bk, double bl, double bu) {
    const model_bound old = on(side(accmode), i).b;
    on(side(accmode), i).b = read_form(bk, bl, bu);
    bound_changed(accmode, i, old);
  }
  // One side changes, the other stays; what is left of the key follows from the sides.
  void change_bound(int32_t accmode, int32_t i, bool lower, bool finite, double value) {
    const model_bound old = on(side(accmode), i).b;
    finite = finite && (lower ? value > -threshold : value < threshold);
    const bool same = finite && (lower ? old.lower() && old.bl == value : old.upper() && old.bu == value);
    if (same && !(old.bk == TVN_BK_RA && old.bl == old.bu)) return;
    const bool haslower = lower ? finite : old.lower(), hasupper = lower ? old.upper() : finite;
    const double bl = lower && finite ? value : old.bl, bu = !lower && finite ? value : old.bu;
    const int32_t both = bl == bu ? TVN_BK_FX : TVN_BK_RA;
    put_bound(accmode, i,
              haslower && hasupper ? both
              : haslower           ? TVN_BK_LO
              : hasupper           ? TVN_BK_UP
                                   : TVN_BK_FR,
              bl, bu);
  }
  void append(int32_t accmode, int32_t num) {
    const bool isvar = accmode == TVN_ACC_VAR;
    int32_t& max = isvar ? maxvar : maxcon;
    if (len(side(accmode)) + num > max) max = std::max(len(side(accmode)) + num, 2 * max);
    for (int32_t k = 0; k < num; k++) {
      model_item item{isvar ? model_bound{TVN_BK_FX, 0, 0} : model_bound{TVN_BK_FR, -endless, endless}, ""};
      each_defined([&](int32_t w, model_slot& s) {
        on(item.sol, w).sk = isvar ? TVN_SK_FIX : w == TVN_SOL_BAS ? TVN_SK_BAS : TVN_SK_UNK;
        if (isvar) {
          s.prosta = kept({{1, 2}, {2, 2}, {4, 4}, {6, 4}, {8, 9}, {9, 9}}, s.prosta);
          s.solsta = kept({{2, 2}, {4, 2}, {5, 5}, {9, 9}, {11, 9}}, s.solsta);
        } else {
          s.prosta = kept({{1, 3}, {3, 3}, {4, 4}, {6, 4}, {8, 10}, {10, 10}}, s.prosta);
          s.solsta = kept({{1, 3}, {3, 3}, {4, 3}, {5, 5}, {8, 10}, {10, 10}, {11, 10}}, s.solsta);
        }
      });
      side(accmode).push_back(item);
    }
  }
  // Item i becomes item to[i], or goes for -1.
  void renumber(int32_t accmode, const std::vector<int32_t>& to) {
    std::vector<model_item>& items = side(accmode);
    const auto left = static_cast<size_t>(std::count_if(to.begin(), to.end(), [](int32_t k) { return k >= 0; }));
    std::vector<model_item> old(left);
    for (int32_t i = 0; i < len(to); i++)
      if (on(to, i) >= 0) on(old, on(to, i)) = on(items, i);
    items.swap(old);
    const bool isvar = accmode == TVN_ACC_VAR;
    const auto follow = [&](auto& pairs, bool first, bool second) {
      std::map<std::pair<int32_t, int32_t>, double> fresh;
      for (const auto& [ij, v] : pairs) {
        const int32_t i = first ? on(to, ij.first) : ij.first, j = second ? on(to, ij.second) : ij.second;
        if (i >= 0 && j >= 0) fresh[{i, j}] = v;
      }
      pairs.swap(fresh);
    };
    follow(a, !isvar, isvar);
    if (!isvar) return;
    follow(qobj, true, true);
    for (model_item& k : con) follow(k.q, true, true);
    for (model_cone& k : cone) {
      std::vector<int32_t> members;
      for (const int32_t j : k.members)
        if (on(to, j) >= 0) members.push_back(on(to, j));
      k.members = members;
    }
  }
  int32_t cone_of(int32_t j) const {
    for (int32_t k = 0; k < len(cone); k++)
      if (std::count(on(cone, k).members.begin(), on(cone, k).members.end(), j)) return k;
    return -1;
  }
  bool heads_cone(int32_t j) const {
    const int32_t k = cone_of(j);
    if (k < 0) return false;
    const auto& m = on(cone, k).members;
    return m[0] == j || (on(cone, k).type == TVN_CT_RQUAD && m[1] == j);
  }
  void make_defined(int32_t w) { // as a put on an undefined slot does
    model_slot& s = on(slot, w);
    if (!s.made) s.prosta = 0;
    s.made = s.defined = true;
    s.solsta = 0;
    for (auto* items : {&var, &con})
      for (model_item& item : *items) on(item.sol, w) = {};
    if (w == TVN_SOL_ITR)
      for (model_cone& k : cone) k.sk = 0;
  }
};

} // namespace apitest
