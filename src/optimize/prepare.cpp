// See prepare.h. Cost: O(nonzeros), sums in long double.
#include "optimize/prepare.h"

#include "prslv/reduced.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tvn {

namespace {

constexpr double half_root = 0.70710678118654752440; // of 2

// One column of the optimizer between these bounds.
void put_bounds(prepared_problem& p, int32_t k, int32_t bk, double bl, double bu) {
  const bool lower = has_lower(bk), upper = has_upper(bk);
  const bool down = upper && (!lower || std::fabs(bu) < std::fabs(bl));
  p.down[k] = down;
  p.base[k] = down ? bu : lower ? bl : 0.0;
  p.bk[k] = lower && upper ? bk_ra : lower || upper ? bk_lo : bk_fr;
  p.up[k] = lower && upper ? bu - bl : std::numeric_limits<double>::infinity();
}

// What a variable is to the optimizer.
enum class column_kind : int8_t { other, halfline, member }; // halfline: of a cone that is nothing but x >= 0

struct preparation {
  sysenv& sys;
  const problem_view& lp;
  prepared_problem& p;
  buffer<int32_t> newrow; // -1: free
  buffer<long double> rhs;
  // [numcon] of rhs, without their signs; 0 without cones, for pilot-ja would be tried three times.
  buffer<double> terms;
  buffer<column_kind> kind; // [numvar]
  buffer<int32_t> ownrow;   // [numvar] of a member with bounds of its own, else -1
  buffer<int32_t> ownbk;    // [numvar] what its cone does not imply
  buffer<int64_t> place;    // [numrow] in the column that is made, -1: not yet
  int64_t at = 0;           // end of the columns that are made

  preparation(sysenv& s, const problem_view& l, prepared_problem& q)
      : sys(s), lp(l), p(q), newrow(s, l.numcon, -1), rhs(s, l.numcon, 0.0L), terms(s, l.numcon, 0.0),
        kind(s, l.numvar, column_kind::other), ownrow(s, l.numvar, -1),
        ownbk(s, l.numvar, static_cast<int32_t>(bk_fr)) {}

  bool is_turned(int32_t k) const { return lp.cone.type[k] == ct_rquad; }
  int32_t size(int32_t k) const { return lp.cone.end[k] - lp.cone.beg[k]; }
  bool is_halfline(int32_t k) const { return size(k) <= (is_turned(k) ? 2 : 1); }
  int64_t length(int32_t j) const;
  void sort_members();
  void number();
  void allocate(int64_t nz);
  void put_entries(int32_t j, double factor);
  void end_column(int32_t k);
  void put_column(int32_t k, int32_t j);
  void put_member(int32_t k, int32_t j, int32_t other, double factor, double otherfactor);
  void put_members();
  void put_row(int32_t r, int32_t& slack, int32_t bk, double bl, double bu, long double shift, double reach);
  void put_rows();
  void put_quadratic(long double& cfix);
};

int64_t preparation::length(int32_t j) const {
  int64_t len = ownrow[j] >= 0;
  for (int64_t q = lp.ptrb[j]; q < lp.ptre[j]; q++) len += newrow[lp.sub[q]] >= 0 && lp.val[q] != 0 ? 1 : 0;
  return len;
}

void preparation::sort_members() {
  for (int32_t k = 0; k < lp.cone.num; k++)
    for (int32_t q = lp.cone.beg[k]; q < lp.cone.end[k]; q++) {
      const int32_t j = lp.cone.sub[q], heads = is_turned(k) ? 2 : 1;
      kind[j] = is_halfline(k) ? column_kind::halfline : column_kind::member;
      const bool implied = has_lower(lp.bkx[j]) && lp.bkx[j] != bk_fx && lp.blx[j] <= 0 && q - lp.cone.beg[k] < heads;
      const bool upper = has_upper(lp.bkx[j]);
      ownbk[j] = implied ? (upper ? bk_up : bk_fr) : lp.bkx[j];
    }
}

void preparation::number() {
  int32_t rows = 0, cols = 0, slacks = 0, members = 0;
  for (int32_t i = 0; i < lp.numcon; i++) {
    if (lp.bkc[i] == bk_fr) continue;
    newrow[i] = rows++;
    slacks += lp.bkc[i] != bk_fx ? 1 : 0;
  }
  sort_members();
  for (int32_t j = 0; j < lp.numvar; j++) {
    members += kind[j] == column_kind::member;
    cols += kind[j] == column_kind::halfline || (kind[j] == column_kind::other && lp.bkx[j] != bk_fx);
    if (ownbk[j] == bk_fr) continue;
    ownrow[j] = rows++;
    slacks += ownbk[j] != bk_fx;
  }
  int64_t nz = slacks;
  for (int32_t j = 0; j < lp.numvar; j++)
    if (kind[j] != column_kind::other || lp.bkx[j] != bk_fx) nz += length(j);
  for (int32_t k = 0; k < lp.cone.num; k++) {
    if (is_halfline(k)) continue;
    p.hs.numcone++;
    if (is_turned(k)) nz += length(lp.cone.sub[lp.cone.beg[k]]) + length(lp.cone.sub[lp.cone.beg[k] + 1]);
  }
  p.numslack = slacks;
  p.nummember = members;
  p.hs.a.numrow = rows;
  p.hs.a.numcol = cols + slacks + members;
  allocate(nz);
}

void preparation::allocate(int64_t nz) {
  const int32_t m = p.hs.a.numrow, n = p.hs.a.numcol;
  p.row2con.reset(sys, m);
  p.col2var.reset(sys, n - p.numslack);
  p.slackrow.reset(sys, p.numslack);
  p.rotated.reset(sys, p.hs.numcone);
  p.conebeg.reset(sys, p.hs.numcone + 1);
  p.down.reset(sys, n);
  p.halfline.reset(sys, n - p.numslack - p.nummember);
  p.ptr.reset(sys, n + 1);
  p.sub.reset(sys, nz);
  p.val.reset(sys, nz);
  p.bk.reset(sys, n);
  p.skx.reset(sys, n, static_cast<int32_t>(sk_unk));
  for (buffer<double>* v : {&p.base, &p.c, &p.up}) v->reset(sys, n);
  for (buffer<double>* v : {&p.x, &p.s, &p.sup}) v->reset(sys, n, 0.0);
  p.b.reset(sys, m);
  p.y.reset(sys, m, 0.0);
  place.reset(sys, p.hs.numcone > 0 ? m : 0, int64_t{-1});
  p.ptr[0] = 0;
}

// Entries of variable j, times a factor, into the column that is made. Two variables share one where a cone is turned.
void preparation::put_entries(int32_t j, double factor) {
  const auto put = [&](int32_t r, double v) {
    int64_t to = at;
    if (!place.empty()) to = place[r] >= 0 ? place[r] : place[r] = at;
    if (to == at) {
      p.sub[at] = r;
      p.val[at++] = 0;
    }
    p.val[to] += factor * v;
  };
  for (int64_t q = lp.ptrb[j]; q < lp.ptre[j]; q++)
    if (newrow[lp.sub[q]] >= 0 && lp.val[q] != 0) put(newrow[lp.sub[q]], lp.val[q]);
  if (ownrow[j] >= 0) put(ownrow[j], 1);
}

void preparation::end_column(int32_t k) {
  for (int64_t q = p.ptr[k]; !place.empty() && q < at; q++) place[p.sub[q]] = -1;
  p.ptr[k + 1] = at;
}

// Column j as the k-th one; what its base adds to rows and costs.
void preparation::put_column(int32_t k, int32_t j) {
  if (kind[j] == column_kind::halfline)
    put_bounds(p, k, bk_lo, 0, bound_infinity);
  else
    put_bounds(p, k, lp.bkx[j], lp.blx[j], lp.bux[j]);
  const double sign = p.down[k] ? -1 : 1;
  p.halfline[k] = kind[j] == column_kind::halfline;
  p.col2var[k] = j;
  p.c[k] = sign * TVN_prslv_foldedcost(lp, j);
  put_entries(j, sign);
  end_column(k);
}

// A member, or what two of them turn to.
void preparation::put_member(int32_t k, int32_t j, int32_t other, double factor, double otherfactor) {
  put_bounds(p, k, bk_fr, 0, 0);
  p.c[k] = factor * TVN_prslv_foldedcost(lp, j);
  put_entries(j, factor);
  if (other >= 0) {
    p.c[k] += otherfactor * TVN_prslv_foldedcost(lp, other);
    put_entries(other, otherfactor);
  }
  end_column(k);
}

void preparation::put_members() {
  int32_t k = p.hs.a.numcol - p.nummember, num = 0;
  for (int32_t c = 0; c < lp.cone.num; c++) {
    if (is_halfline(c)) continue;
    const int32_t* const j = lp.cone.sub + lp.cone.beg[c];
    const bool turned = is_turned(c);
    p.rotated[num] = turned;
    p.conebeg[num++] = k;
    for (int32_t q = 0; q < size(c); q++, k++) {
      p.col2var[k - p.numslack] = j[q];
      if (turned && q < 2)
        put_member(k, j[0], j[1], half_root, q == 0 ? half_root : -half_root);
      else
        put_member(k, j[q], -1, 1, 0);
    }
  }
  p.conebeg[num] = k;
}

// A side less what its fixed terms add to. What the data are rounded to is no right side: scaled to near 1, where it is
// all of b or a row has nothing else, it drives tau to 0.
double less_shift(double side, long double shift, double reach) noexcept {
  constexpr double rounding = 8 * std::numeric_limits<double>::epsilon();
  const long double left = side - shift;
  return std::fabs(left) <= rounding * reach ? 0.0 : static_cast<double>(left);
}

// bl <= activity + shift <= bu by a column of its own, unless it is an equality. reach: the size of what shift adds up.
void preparation::put_row(int32_t r, int32_t& k, int32_t bk, double bl, double bu, long double shift, double reach) {
  if (bk == bk_fx) {
    p.b[r] = less_shift(bl, shift, reach);
    return;
  }
  put_bounds(p, k, bk, bl, bu); // of the activity
  p.b[r] = less_shift(p.base[k], shift, reach);
  p.base[k] = 0;
  p.slackrow[k - (p.hs.a.numcol - p.nummember - p.numslack)] = r;
  p.c[k] = 0;
  p.sub[at] = r;
  p.val[at++] = p.down[k] ? 1 : -1;
  p.ptr[k + 1] = at;
  k++;
}

void preparation::put_rows() {
  int32_t k = p.hs.a.numcol - p.nummember - p.numslack;
  for (int32_t i = 0; i < lp.numcon; i++) {
    if (newrow[i] < 0) continue;
    p.row2con[newrow[i]] = i;
    put_row(newrow[i], k, lp.bkc[i], lp.blc[i], lp.buc[i], rhs[i], terms[i]);
  }
  for (int32_t j = 0; j < lp.numvar; j++) {
    if (ownrow[j] < 0) continue;
    p.row2con[ownrow[j]] = -1 - j;
    put_row(ownrow[j], k, ownbk[j], lp.blx[j], lp.bux[j], 0, 0);
  }
}

// x'Qx/2 with x = base + sign x' is base'Q base/2 + (sign Q base)'x' + x'(sign Q sign)x'/2.
void preparation::put_quadratic(long double& cfix) {
  if (!lp.q.any()) return;
  buffer<int32_t> column(sys, lp.numvar, -1);
  buffer<double> base(sys, lp.numvar);
  for (int32_t j = 0; j < lp.numvar; j++) base[j] = lp.bkx[j] == bk_fx ? lp.blx[j] : 0.0;
  const int32_t others = p.hs.a.numcol - p.numslack - p.nummember;
  for (int32_t k = 0; k < others; k++) {
    column[p.col2var[k]] = k;
    base[p.col2var[k]] = p.base[k];
  }
  buffer<long double> qx(sys, lp.numvar);
  TVN_sym_multiply(lp.q, base.data(), qx.data());
  for (int32_t j = 0; j < lp.numvar; j++) {
    cfix += qx[j] * base[j] / 2;
    if (const int32_t k = column[j]; k >= 0) p.c[k] = static_cast<double>(p.c[k] + (p.down[k] ? -qx[j] : qx[j]));
  }
  const int64_t most = lp.q.beg[lp.numvar];
  buffer<int32_t> subi(sys, most), subj(sys, most);
  buffer<double> val(sys, most);
  int64_t num = 0;
  for (int32_t j = 0; j < lp.numvar; j++)
    for (int64_t q = lp.q.beg[j]; q < lp.q.beg[j + 1]; q++) {
      const int32_t a = column[lp.q.sub[q]], b = column[j];
      if (a < 0 || b < 0 || lp.q.val[q] == 0) continue;
      subi[num] = a;
      subj[num] = b;
      val[num++] = p.down[a] != p.down[b] ? -lp.q.val[q] : lp.q.val[q];
    }
  TVN_sym_fromtriplets(sys, p.hs.a.numcol, num, subi.data(), subj.data(), val.data(), 1, p.q);
  p.hs.q = p.q.view();
}

} // namespace

void TVN_opt_prepare(sysenv& sys, const problem_view& lp, prepared_problem& p) {
  preparation prep(sys, lp, p);
  p.hs.numcone = 0;
  prep.number();
  long double cfix = lp.cfix;
  int32_t k = 0;
  for (int32_t j = 0; j < lp.numvar; j++) {
    if (prep.kind[j] == column_kind::member) continue;
    double base = lp.blx[j];
    if (prep.kind[j] == column_kind::halfline || lp.bkx[j] != bk_fx) {
      prep.put_column(k, j);
      base = p.base[k++];
    }
    if (base == 0) continue;
    cfix += static_cast<long double>(TVN_prslv_foldedcost(lp, j)) * base;
    for (int64_t q = lp.ptrb[j]; q < lp.ptre[j]; q++) {
      prep.rhs[lp.sub[q]] += static_cast<long double>(lp.val[q]) * base;
      if (lp.cone.any()) prep.terms[lp.sub[q]] += std::fabs(lp.val[q] * base);
    }
  }
  prep.put_rows();
  prep.put_members();
  prep.put_quadratic(cfix);
  p.hs.conebeg = p.conebeg.data();
  p.hs.a.beg = p.ptr.data();
  p.hs.a.end = p.ptr.data() + 1;
  p.hs.a.sub = p.sub.data();
  p.hs.a.val = p.val.data();
  p.hs.c = p.c.data();
  p.hs.b = p.b.data();
  p.hs.bk = p.bk.data();
  p.hs.up = p.up.data();
  p.hs.cfix = static_cast<double>(cfix);
}

namespace {

int32_t turned(int32_t key, bool down) {
  return !down           ? key
         : key == sk_low ? static_cast<int32_t>(sk_upr)
         : key == sk_upr ? static_cast<int32_t>(sk_low)
                         : key;
}

// Values and duals of members; their bounds' duals follow from these and y.
void reverse_cones(const problem_view& lp, const prepared_problem& p, const hs_point& point, solution_view& sol) {
  std::fill_n(sol.snx, lp.numvar, 0.0);
  const auto put = [&](int32_t k, double x, double s) {
    const int32_t j = p.col2var[k - p.numslack];
    sol.xx[j] = x;
    sol.snx[j] = s;
    sol.skx[j] = sk_supbas;
  };
  for (int32_t c = 0; c < p.hs.numcone; c++) {
    int32_t k = p.conebeg[c];
    const double *const x = point.x + k, *const s = point.s + k;
    if (p.rotated[c]) {
      put(k++, half_root * (x[0] + x[1]), half_root * (s[0] + s[1]));
      put(k++, half_root * (x[0] - x[1]), half_root * (s[0] - s[1]));
    }
    for (; k < p.conebeg[c + 1]; k++) put(k, point.x[k], point.s[k]);
  }
  const int32_t others = p.hs.a.numcol - p.numslack - p.nummember;
  for (int32_t k = 0; k < others; k++)
    if (p.halfline[k]) sol.snx[p.col2var[k]] = point.s[k];
}

} // namespace

void TVN_opt_reverse(sysenv& sys, const problem_view& lp, const prepared_problem& p, const hs_point& point,
                     int32_t solsta, solution_view& sol) {
  const bool certificate = is_certificate(solsta);
  for (int32_t j = 0; j < lp.numvar; j++) {
    sol.xx[j] = lp.bkx[j] == bk_fx && !certificate ? lp.blx[j] : 0;
    sol.skx[j] = lp.bkx[j] == bk_fx ? sk_fix : sk_unk;
    sol.slx[j] = sol.sux[j] = 0;
  }
  for (int32_t i = 0; i < lp.numcon; i++) {
    sol.y[i] = lp.cslack && !certificate ? 0.0 - lp.cslack[i] : 0.0;
    sol.skc[i] = lp.bkc[i] == bk_fx ? sk_fix : sk_bas;
  }
  for (int32_t r = 0; r < p.hs.a.numrow; r++)
    if (p.row2con[r] >= 0) sol.y[p.row2con[r]] += point.y[r];
  const int32_t others = p.hs.a.numcol - p.numslack - p.nummember;
  for (int32_t k = 0; k < others; k++) {
    const int32_t j = p.col2var[k];
    const double base = certificate ? 0.0 : p.base[k];
    sol.xx[j] = p.down[k] ? base - point.x[k] : base + point.x[k];
    sol.skx[j] = turned(point.skx[k], p.down[k] != 0);
  }
  for (int32_t k = 0; k < p.numslack; k++)
    if (const int32_t i = p.row2con[p.slackrow[k]]; i >= 0)
      sol.skc[i] = turned(point.skx[others + k], p.down[others + k] != 0);
  if (lp.cone.any()) reverse_cones(lp, p, point, sol);
  for (int32_t i = 0; i < lp.numcon; i++) {
    const double d = sol.y[i] + (lp.cslack && !certificate ? lp.cslack[i] : 0.0);
    sol.slc[i] = std::max(d, 0.0);
    sol.suc[i] = std::max(-d, 0.0);
  }
  TVN_prslv_refresh(sys, lp, solsta, sol, false);
}

} // namespace tvn
