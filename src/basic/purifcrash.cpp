// The crash: a basis of the members of B that lie deepest inside their bounds.
//
// Logicals of B stand in their rows. The other rows are matched to members of B, class by class of weight, a matched
// row staying matched: the greedy way to the heaviest set of columns that is regular in its pattern. Rows that remain
// get their logicals. What values make dependent all the same the factor puts out, by an absolute pivot tolerance that
// holds for columns of norm 1 (the scaled ones nearly are).
#include "basic/purifint.h"
#include "order/blkord.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tvn {

namespace {

constexpr double farout = 1e8;  // a value that costs the others their digits
constexpr double faroff = 1e-3; // of a basic from the point, relative
constexpr double growth = 1e3;  // of the basis' volume by an exchange that is worth it
constexpr int32_t maxmended = 100;
constexpr double crashpivot = 1e-3;                     // absolute, smaller ones count as none
constexpr std::array<double, 3> classes{1, 1e-3, 1e-6}; // of weights; the rest is a class of its own

struct crash_columns {
  buffer<int32_t> column; // heaviest first
  int32_t num = 0;
  buffer<int64_t> beg, end;
  buffer<int32_t> col2row, row2col, rank;

  crash_columns(sysenv& sys, const simplex_work& w)
      : column(sys, w.n), beg(sys, w.n), end(sys, w.n), col2row(sys, w.n, -1), row2col(sys, w.m, -1), rank(sys, w.m) {}
};

void list_columns(const prf_state& p, crash_columns& c) {
  const simplex_work& w = p.w;
  for (int32_t j = w.m; j < w.total; j++)
    if (p.inner[j]) c.column[c.num++] = j;
  std::sort(c.column.data(), c.column.data() + c.num,
            [&](int32_t a, int32_t b) { return p.weight[a] != p.weight[b] ? p.weight[a] > p.weight[b] : a < b; });
  for (int32_t k = 0; k < c.num; k++) {
    c.beg[k] = w.colbeg[c.column[k] - w.m];
    c.end[k] = w.colbeg[c.column[k] - w.m + 1];
  }
  for (int32_t i = 0; i < w.m; i++) c.rank[i] = p.inner[i];
}

int32_t ask_state(void* handle) { return TVN_simplex_poll(*static_cast<simplex_state*>(handle)); }

void match_columns(const prf_state& p, crash_columns& c) {
  int32_t from = 0;
  for (size_t k = 0; k <= classes.size(); k++) {
    int32_t to = c.num;
    if (k < classes.size()) {
      to = from;
      while (to < c.num && p.weight[c.column[to]] > classes[k]) to++;
    }
    if (to == from) continue;
    const blkord_pattern a{p.w.m, to, c.beg.data(), c.end.data(), p.w.colsub.data()};
    const std::span<int32_t> cols{c.col2row.data(), static_cast<size_t>(to)};
    (void)TVN_blkord_maxtranwithrowtrh(p.s.sys, a, c.rank.data(), 1, {cols, c.row2col}, {&p.s, ask_state});
    from = to;
  }
}

void put_header(prf_state& p, const crash_columns& c) {
  simplex_state& s = p.s;
  std::fill(s.fac.pos.begin(), s.fac.pos.end(), -1);
  for (int32_t i = 0; i < p.w.m; i++) {
    const int32_t j = c.row2col[i] < 0 ? i : c.column[c.row2col[i]];
    s.fac.head[i] = j;
    s.fac.pos[j] = i;
    s.key[j] = sk_bas;
    p.info.crashed += p.inner[j];
  }
}

bool factor_crash(prf_state& p) {
  lu& f = p.s.fac.factor;
  const double before = TVN_lu_gettol(f, tol_abspivot);
  TVN_lu_puttol(f, tol_abspivot, std::max(before, crashpivot));
  const bool done = TVN_prf_refactor(p);
  TVN_lu_puttol(f, tol_abspivot, before);
  return done;
}

// How far the basics are from the point, at the worst position.
int32_t worst_position(prf_state& p) {
  simplex_state& s = p.s;
  TVN_simplex_formxb(s.fac, s.x);
  double worst = 0;
  int32_t position = -1;
  for (int32_t k = 0; k < p.w.m; k++) {
    const int32_t j = s.fac.head[k];
    const double at = TVN_simplex_uservalue(p.w, p.point, j), off = std::fabs(s.x[j] - at) / (1 + std::fabs(at));
    if (off > std::max(worst, faroff)) {
      worst = off;
      position = k;
    }
  }
  return position;
}

// The basics of a nearly dependent set are thrown far from the point, which they would else stay near. The largest
// entry in the row of the inverse tells which logical makes the set better, by as much as it is large. False: no
// factor.
bool mend_dependence(prf_state& p) {
  simplex_state& s = p.s;
  for (int32_t n = 0; n < maxmended; n++) {
    const int32_t k = worst_position(p);
    if (k < 0 || TVN_simplex_poll(s)) break;
    TVN_simplex_rowofinverse(s, k);
    double largest = 0;
    int32_t row = -1;
    for (int32_t e = 0; e < s.rho.count; e++) {
      const int32_t i = s.rho.idx[e];
      if (s.fac.pos[i] >= 0 || !(std::fabs(s.rho.val[i]) > largest)) continue;
      largest = std::fabs(s.rho.val[i]);
      row = i;
    }
    TVN_simplex_clearvectors(s);
    if (!(largest > growth)) break;
    const int32_t leaving = s.fac.head[k];
    TVN_simplex_solvecolumn(s, row);
    const bool good = TVN_prf_exchange(p, k, row, sk_low, 0);
    TVN_simplex_clearvectors(s);
    s.x[leaving] = TVN_simplex_uservalue(p.w, p.point, leaving);
    TVN_prf_putout(p, leaving);
    if (!good && !TVN_prf_refactor(p)) return false;
  }
  return s.stop == simplex_code::ok;
}

// Members of B that stand outside.
void list_superbasics(prf_state& p) {
  p.numsuper = 0;
  for (int32_t j = 0; j < p.w.total; j++)
    if (p.s.fac.pos[j] < 0 && TVN_simplex_isinside(p.s, j)) p.super[p.numsuper++] = j;
  std::sort(p.super.data(), p.super.data() + p.numsuper, [&](int32_t a, int32_t b) {
    const bool far = std::fabs(p.s.x[a]) > farout, otherfar = std::fabs(p.s.x[b]) > farout;
    if (far != otherfar) return far;
    return p.weight[a] != p.weight[b] ? p.weight[a] < p.weight[b] : a < b;
  });
  p.info.numsuper = p.numsuper;
}

} // namespace

bool TVN_prf_crashbasis(prf_state& p) {
  crash_columns c(p.s.sys, p.w);
  list_columns(p, c);
  match_columns(p, c);
  if (p.s.stop != simplex_code::ok) return false;
  put_header(p, c);
  if (!factor_crash(p) || !mend_dependence(p)) return false;
  list_superbasics(p);
  return true;
}

} // namespace tvn
