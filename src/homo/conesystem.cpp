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

void choose(sysenv& sys, const hom_data& d, cone_system& c, int64_t& numscaled, int64_t& numentries) {
  row_union u(sys, d);
  numscaled = 0;
  numentries = d.beg[c.first];
  for (int32_t k = 0; k < c.num; k++) {
    u.find(d, k);
    const int64_t scaled = c.size(k) * u.rows.size();
    c.own[k] = c.size(k) <= few_members || scaled <= denser * u.entries ? -1 : c.numown++;
    numentries += c.own[k] < 0 ? scaled : u.entries + c.size(k);
    numscaled += c.own[k] < 0 ? scaled : 0;
  }
}

void make_columns(sysenv& sys, const hom_data& d, cone_system& c) {
  int64_t numscaled, numentries, at = 0, from = 0;
  choose(sys, d, c, numscaled, numentries);
  c.abeg.reset(sys, int64_t{c.n} + c.numown + 1);
  c.asub.reset(sys, numentries);
  c.aval.reset(sys, numentries, 0.0);
  c.given.reset(sys, numscaled, 0.0);
  const auto copy = [&](int32_t j) {
    c.abeg[j] = at;
    const int64_t len = d.beg[j + 1] - d.beg[j];
    std::copy_n(d.sub.data() + d.beg[j], len, c.asub.data() + at);
    std::copy_n(d.val.data() + d.beg[j], len, c.aval.data() + at);
    at += len;
  };
  for (int32_t j = 0; j < c.first; j++) copy(j);
  row_union u(sys, d);
  buffer<int32_t> place(sys, d.m);
  for (int32_t k = 0; k < c.num; k++) {
    if (c.own[k] < 0) {
      u.find(d, k);
      for (int32_t i = 0; i < u.rows.size(); i++) place[u.rows[i]] = i;
    }
    for (int32_t j = c.beg[k]; j < c.beg[k + 1]; j++) {
      if (c.own[k] >= 0) {
        copy(j);
        c.asub[at] = c.m + c.own[k];
        c.aval[at++] = 1;
        continue;
      }
      c.abeg[j] = at;
      std::copy_n(u.rows.data(), u.rows.size(), c.asub.data() + at);
      for (int64_t p = d.beg[j]; p < d.beg[j + 1]; p++) c.given[from + place[d.sub[p]]] = d.val[p];
      std::copy_n(c.given.data() + from, u.rows.size(), c.aval.data() + at);
      at += u.rows.size();
      from += u.rows.size();
    }
  }
  std::fill(c.abeg.begin() + c.n, c.abeg.end(), at);
}

void make_pattern(sysenv& sys, cone_system& c) {
  if (c.numown == 0) return;
  int64_t num = 0, at = 0;
  for (int32_t k = 0; k < c.num; k++) num += c.own[k] < 0 ? 0 : c.size(k) - 1;
  c.hbeg.reset(sys, int64_t{c.n} + c.numown + 1, int64_t{0});
  c.hsub.reset(sys, num);
  c.hval.reset(sys, num, 0.0);
  for (int32_t k = 0; k < c.num; k++) {
    if (c.own[k] < 0) continue;
    c.hbeg[c.n + c.own[k]] = at;
    for (int32_t j = c.beg[k] + 1; j < c.beg[k + 1]; j++) c.hsub[at++] = j;
  }
  c.hbeg[c.n + c.numown] = at;
}

// A W^-1, row by row.
void put_scaled(cone_system& c, int32_t k, const double* given, double* h) noexcept {
  const int32_t size = c.size(k);
  const int64_t first = c.abeg[c.beg[k]], rows = c.abeg[c.beg[k] + 1] - first;
  double* const line = c.line.data();
  for (int64_t i = 0; i < rows; i++) {
    for (int32_t a = 0; a < size; a++) line[a] = given[a * rows + i];
    quadcone_over(c.theta[k], c.scaling(k), size, line);
    for (int32_t a = 0; a < size; a++) c.aval[first + a * rows + i] = line[a];
  }
  std::fill_n(h + c.beg[k], size, 1.0);
}

void put_own(cone_system& c, int32_t k, double* h) noexcept {
  const double *const w = c.scaling(k), theta = c.theta[k];
  const int32_t size = c.size(k), first = c.beg[k];
  double rest = 0;
  for (int32_t i = 1; i < size; i++) rest += w[i] * w[i];
  const double length = std::sqrt(rest), v2 = (2 * rest + 0.5) / (1 + 2 * rest), u2 = 2 * rest + v2;
  const double u1 = std::sqrt(u2), u0 = 2 * w[0] * length / u1;
  const double uq = length > 0 ? u1 / length : 0, vq = length > 0 ? std::sqrt(v2) / length : 0;
  h[first] = theta * theta * (0.5 / u2);
  for (int32_t i = 1; i < size; i++) h[first + i] = theta * theta;
  h[c.n + c.own[k]] = 1;
  double* to = c.hval.data() + c.hbeg[c.n + c.own[k]];
  c.aval[c.abeg[first + 1] - 1] = theta * u0;
  for (int32_t i = 1; i < size; i++) {
    c.aval[c.abeg[first + i + 1] - 1] = theta * uq * w[i];
    *to++ = theta * vq * w[i];
  }
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
  c.line.reset(sys, most);
  make_columns(sys, d, c);
  make_pattern(sys, c);
}

void cone_system_put(cone_system& c, double* h) noexcept {
  const double* given = c.given.data();
  for (int32_t k = 0; k < c.num; k++) {
    if (c.own[k] >= 0) {
      put_own(c, k, h);
      continue;
    }
    put_scaled(c, k, given, h);
    given += c.size(k) * (c.abeg[c.beg[k] + 1] - c.abeg[c.beg[k]]);
  }
}

void cone_system_over(const cone_system& c, double* x) noexcept {
  for (int32_t k = 0; k < c.num; k++)
    if (c.own[k] < 0) quadcone_over(c.theta[k], c.scaling(k), c.size(k), x + c.beg[k]);
}

} // namespace tvn
