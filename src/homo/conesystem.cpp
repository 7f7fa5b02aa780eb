// See conesystem.h.
#include "homo/conesystem.h"

#include "homo/homint.h"
#include "homo/quadcone.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

constexpr int32_t few_members = 8;
constexpr int64_t denser = 3; // entries of scaled columns for each of A

// The rows that the members of a cone meet.
struct row_union {
  buffer<int32_t> last; // [m] cone that has seen the row
  vec<int32_t> rows;
  int64_t entries = 0; // of A

  row_union(sysenv& sys, const hom_data& d) : last(sys, d.m, -1) { rows.attach(sys); }
  void find(const hom_data& d, int32_t k) {
    rows.clear();
    entries = d.beg[d.conebeg[k + 1]] - d.beg[d.conebeg[k]];
    for (int64_t p = d.beg[d.conebeg[k]]; p < d.beg[d.conebeg[k + 1]]; p++) {
      if (last[d.sub[p]] == k) continue;
      last[d.sub[p]] = k;
      rows.push_back(d.sub[p]);
    }
  }
};

void choose(sysenv& sys, const hom_data& d, cone_system& c, int64_t& numentries) {
  row_union u(sys, d);
  numentries = d.beg[c.first];
  for (int32_t k = 0; k < c.num; k++) {
    u.find(d, k);
    const int64_t formed = c.size(k) * u.rows.size();
    c.own[k] = c.size(k) <= few_members || formed <= denser * u.entries ? -1 : c.numown++;
    numentries += c.own[k] < 0 ? formed : u.entries + c.size(k) + u.rows.size() + 1;
  }
}

void make_columns(sysenv& sys, const hom_data& d, cone_system& c) {
  int64_t numentries, at = d.beg[c.first];
  choose(sys, d, c, numentries);
  c.abeg.reset(sys, int64_t{c.n} + c.numown + 1);
  c.asub.reset(sys, numentries);
  c.aval.reset(sys, numentries, 0.0);
  std::copy_n(d.beg.data(), c.first, c.abeg.data());
  std::copy_n(d.sub.data(), at, c.asub.data());
  std::copy_n(d.val.data(), at, c.aval.data());
  row_union u(sys, d);
  buffer<int32_t> place(sys, d.m);
  for (int32_t k = 0; k < c.num; k++) {
    if (c.own[k] < 0) u.find(d, k);
    for (int32_t i = 0; c.own[k] < 0 && i < u.rows.size(); i++) place[u.rows[i]] = i;
    for (int32_t j = c.beg[k]; j < c.beg[k + 1]; j++) {
      c.abeg[j] = at;
      const int64_t len = d.beg[j + 1] - d.beg[j];
      if (c.own[k] < 0) {
        std::copy_n(u.rows.data(), u.rows.size(), c.asub.data() + at);
        for (int64_t p = d.beg[j]; p < d.beg[j + 1]; p++) c.aval[at + place[d.sub[p]]] = d.val[p];
        at += u.rows.size();
      } else {
        std::copy_n(d.sub.data() + d.beg[j], len, c.asub.data() + at);
        std::copy_n(d.val.data() + d.beg[j], len, c.aval.data() + at);
        at += len;
        c.asub[at++] = c.m + c.own[k];
      }
    }
  }
  c.given.reset(sys, at - c.abeg[c.first]);
  std::copy_n(c.aval.data() + c.abeg[c.first], c.given.size(), c.given.data());
  for (int32_t k = 0; k < c.num; k++) {
    if (c.own[k] < 0) continue;
    c.abeg[c.n + c.own[k]] = at;
    u.find(d, k);
    std::copy_n(u.rows.data(), u.rows.size(), c.asub.data() + at);
    at += u.rows.size();
    c.asub[at++] = c.m + c.own[k];
  }
  c.abeg[c.n + c.numown] = at;
}

void make_pattern(sysenv& sys, cone_system& c) {
  if (c.numown == 0) return;
  int64_t num = 0, at = 0;
  for (int32_t k = 0; k < c.num; k++) num += c.own[k] < 0 ? 0 : c.size(k);
  c.hbeg.reset(sys, int64_t{c.n} + c.numown + 1, int64_t{0});
  c.hsub.reset(sys, num);
  c.hval.reset(sys, num, 0.0);
  for (int32_t k = 0; k < c.num; k++) {
    if (c.own[k] < 0) continue;
    c.hbeg[c.n + c.own[k]] = at;
    for (int32_t j = c.beg[k]; j < c.beg[k + 1]; j++) c.hsub[at++] = j;
  }
  c.hbeg[c.n + c.numown] = at;
}

// A W^-1, row by row.
void put_formed(cone_system& c, int32_t k) noexcept {
  const int32_t size = c.size(k);
  const int64_t first = c.abeg[c.beg[k]], rows = c.abeg[c.beg[k] + 1] - first;
  const double* const given = c.given.data() + (first - c.abeg[c.first]);
  double* const line = c.line.data();
  for (int64_t i = 0; i < rows; i++) {
    for (int32_t a = 0; a < size; a++) line[a] = given[a * rows + i];
    quadcone_over(c.theta[k], c.scaling(k), size, line);
    for (int32_t a = 0; a < size; a++) c.aval[first + a * rows + i] = line[a];
  }
  std::fill_n(line, size, 0.0);
}

void put_own(cone_system& c, int32_t k, double* h) noexcept {
  const double *const w = c.scaling(k), over = 1 / c.theta[k], eta = (1 + w[0]) / w[0];
  const int32_t size = c.size(k), g = c.n + c.own[k];
  double *const line = c.line.data(), *to = c.hval.data() + c.hbeg[g];
  for (int32_t a = 0; a < size; a++) {
    const int32_t j = c.beg[k] + a;
    const double z = a == 0 ? 1 + w[0] : -w[a], f = z / (1 + w[0]), sign = a == 0 ? -over : over;
    int64_t p = c.abeg[j];
    for (; p < c.abeg[j + 1] - 1; p++) {
      const double given = c.given[p - c.abeg[c.first]];
      c.aval[p] = sign * given;
      line[c.asub[p]] += over * z * given;
    }
    c.aval[p] = f;
    *to++ = -eta / 2 * f;
  }
  int64_t p = c.abeg[g];
  for (; p < c.abeg[g + 1] - 1; p++) {
    c.aval[p] = line[c.asub[p]];
    line[c.asub[p]] = 0;
  }
  c.aval[p] = -1;
  h[g] = eta;
}

} // namespace

void cone_system_make(sysenv& sys, const hom_data& d, cone_system& c) {
  c.n = d.n;
  c.m = d.m;
  c.num = d.numcone;
  c.first = d.cone0();
  if (!c.any()) return;
  c.beg.reset(sys, int64_t{c.num} + 1);
  std::copy_n(d.conebeg.data(), c.num + 1, c.beg.data());
  c.own.reset(sys, c.num);
  c.theta.reset(sys, c.num, 1.0);
  c.w.reset(sys, c.n - c.first, 0.0);
  int32_t most = 0;
  for (int32_t k = 0; k < c.num; k++) {
    c.scaling(k)[0] = 1;
    most = std::max(most, c.size(k));
  }
  c.line.reset(sys, std::max(most, c.m), 0.0);
  make_columns(sys, d, c);
  make_pattern(sys, c);
}

void cone_system_put(cone_system& c, double* h) noexcept {
  if (c.any()) std::fill_n(h + c.first, c.nummember(), 1.0);
  for (int32_t k = 0; k < c.num; k++) c.own[k] < 0 ? put_formed(c, k) : put_own(c, k, h);
}

void cone_system_over(const cone_system& c, double* x) noexcept {
  for (int32_t k = 0; k < c.num; k++) quadcone_over(c.theta[k], c.scaling(k), c.size(k), x + c.beg[k]);
}

} // namespace tvn
