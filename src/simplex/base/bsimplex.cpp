// Factor of the user's basis.
//
// The optimizers factor a scaled matrix; this one is as the user entered it, and a basis that an optimizer found may
// hold elements far below the usual tolerances. A factorisation that lacks rank is therefore tried again with rows and
// columns scaled to a maximum near 1 and a tolerance near rounding; being powers of two, the scales cost no digit.
// A threshold of 0.1 costs little fill and keeps the growth small (Suhl and Suhl 1990): callers solve a few systems and
// want them accurate.
#include "simplex/base/bsimplex.h"

#include "simplex/base/usimplex.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double tolrelpiv = 0.1;
constexpr double tolabspiv = 1e-8;
constexpr double tolrounding = 1e-11; // smallest pivot of the second try

struct column_source {
  const basis_source& a;
  const simplex_basis& b;
};

int64_t column_count(const basis_source& a, int32_t item) noexcept {
  return item < a.numcon ? 1 : a.ptre[item - a.numcon] - a.ptrb[item - a.numcon];
}

bool get_column(void* handle, int64_t space, int32_t k, int32_t& count, int32_t* sub, double* val) {
  const auto& [a, b] = *static_cast<const column_source*>(handle);
  const int32_t item = b.idx[k];
  const int64_t n = column_count(a, item);
  if (n > space) return false;
  count = static_cast<int32_t>(n);
  if (item < a.numcon) {
    sub[0] = item;
    val[0] = -1.0;
  } else {
    std::copy_n(a.sub + a.ptrb[item - a.numcon], n, sub);
    std::copy_n(a.val + a.ptrb[item - a.numcon], n, val);
  }
  if (!b.rowscale.empty())
    for (int32_t p = 0; p < count; p++) val[p] *= b.rowscale[sub[p]] * b.colscale[k];
  return true;
}

int32_t count_basics(const basis_source& a) noexcept {
  return static_cast<int32_t>(std::count(a.skc, a.skc + a.numcon, sk_bas) +
                              std::count(a.skx, a.skx + a.numvar, sk_bas));
}

void resize(simplex_basis& b, int32_t m) {
  TVN_lu_invfac(b.factor);
  if (b.m == m) return;
  b.m = -1;
  b.idx.reset(*b.sys, m);
  TVN_lu_make(*b.sys, m, m, b.factor);
  b.byrow = spvec(*b.sys, m);
  b.byposition = spvec(*b.sys, m);
  b.m = m;
}

// Fills idx; returns the nonzeros of the columns.
int64_t collect(const basis_source& a, simplex_basis& b) noexcept {
  int64_t nonzeros = 0;
  int32_t k = 0;
  for (int32_t item = 0; item < a.numcon + a.numvar; item++) {
    if ((item < a.numcon ? a.skc[item] : a.skx[item - a.numcon]) != sk_bas) continue;
    b.idx[k++] = item;
    nonzeros += column_count(a, item);
  }
  return nonzeros;
}

// The power of two that brings a magnitude to between 1 and 2.
double scale_of(double largest) noexcept { return largest > 0.0 ? std::ldexp(1.0, -std::ilogb(largest)) : 1.0; }

// Rows first, then columns; a slack counts as an element 1 of its row.
void compute_scales(const basis_source& a, simplex_basis& b) {
  buffer<double> row(*b.sys, b.m, 0.0), col(*b.sys, b.m, 0.0);
  const auto each = [&](auto visit) {
    for (int32_t k = 0; k < b.m; k++) {
      const int32_t j = b.idx[k] - a.numcon;
      if (j < 0)
        visit(b.idx[k], k, 1.0);
      else
        for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) visit(a.sub[p], k, std::fabs(a.val[p]));
    }
  };
  each([&](int32_t i, int32_t, double v) { row[i] = std::max(row[i], v); });
  for (double& r : row) r = scale_of(r);
  each([&](int32_t i, int32_t k, double v) { col[k] = std::max(col[k], row[i] * v); });
  for (double& c : col) c = scale_of(c);
  b.rowscale.swap(row);
  b.colscale.swap(col);
}

void scale_by(const buffer<double>& scale, spvec& x) noexcept {
  if (scale.empty()) return;
  for (int32_t p = 0; p < x.count; p++) x.val[x.idx[p]] *= scale[x.idx[p]];
}

} // namespace

void TVN_simplex_makebasis(sysenv& sys, simplex_basis& b) noexcept {
  b = simplex_basis{};
  b.sys = &sys;
}

void TVN_simplex_deletebasis(simplex_basis& b) noexcept { b = simplex_basis{}; }

simplex_code TVN_simplex_verifybasis(const basis_source& a, simplex_basis& b) {
  TVN_lu_invfac(b.factor);
  if (count_basics(a) != a.numcon) return simplex_code::bad_basis;
  resize(b, a.numcon);
  const int64_t nonzeros = collect(a, b);
  b.rowscale.clear();
  b.colscale.clear();
  int64_t isize = 0, rsize = 0;
  TVN_lu_getfactorspace(b.m, b.m, isize, rsize);
  buffer<int32_t> iwork(*b.sys, isize);
  buffer<double> rwork(*b.sys, rsize);
  column_source source{a, b};
  TVN_lu_putdefaults(b.factor);
  TVN_lu_putgeta(b.factor, &source, get_column);
  TVN_lu_puttol(b.factor, tol_abspivot, tolabspiv);
  TVN_lu_puttol(b.factor, tol_relpivot, tolrelpiv);
  factor_result result = TVN_simplex_factorlu(b.factor, nonzeros, iwork, rwork);
  if (result == factor_result::singular) {
    compute_scales(a, b);
    TVN_lu_puttol(b.factor, tol_abspivot, tolrounding);
    result = TVN_simplex_factorlu(b.factor, nonzeros, iwork, rwork);
  } else if (result == factor_result::full && TVN_simplex_improvelu(b.factor)) {
    TVN_lu_puttol(b.factor, tol_relpivot, tolrelpiv);
    result = TVN_simplex_factorlu(b.factor, nonzeros, iwork, rwork);
  }
  TVN_lu_putgeta(b.factor, nullptr, nullptr);
  b.rank = TVN_lu_getrank(b.factor);
  if (result == factor_result::full) return simplex_code::ok;
  if (result != factor_result::singular) return simplex_code::factor;
  b.firstlacking = static_cast<int32_t>(std::find(b.factor.piv.colpivrow.begin(), b.factor.piv.colpivrow.end(), b.m) -
                                        b.factor.piv.colpivrow.begin());
  return simplex_code::singular;
}

void TVN_simplex_solvebasis(simplex_basis& b) {
  scale_by(b.rowscale, b.byrow);
  TVN_lu_ftranl(b.factor, b.byrow);
  TVN_lu_ftranus(b.factor, b.byrow, b.byposition, 0.0, 0.0);
  scale_by(b.colscale, b.byposition);
}

void TVN_simplex_solvebasistransposed(simplex_basis& b) {
  scale_by(b.colscale, b.byposition);
  TVN_lu_btrans(b.factor, b.byposition, b.byrow, 0.0, 0.0);
  scale_by(b.rowscale, b.byrow);
}

bool TVN_simplex_estimatenormofbasis(const basis_source& a, const simplex_basis& b, double& norm) {
  norm = 0.0;
  for (const int32_t item : b.idx) {
    double sum = item < a.numcon ? 1.0 : 0.0;
    if (item >= a.numcon)
      for (int64_t p = a.ptrb[item - a.numcon]; p < a.ptre[item - a.numcon]; p++) sum += std::fabs(a.val[p]);
    norm = std::max(norm, sum);
  }
  return std::isfinite(norm);
}

bool TVN_simplex_estimatenormofbasisinverse(simplex_basis& b, double& norm) {
  buffer<double> work(*b.sys, 2 * int64_t{b.m});
  const buffer<double>&rowscale = b.rowscale, &colscale = b.colscale;
  return TVN_lu_onenormestimate(b.factor, norm, work, rowscale, colscale) == lu_code::done && std::isfinite(norm);
}

} // namespace tvn
