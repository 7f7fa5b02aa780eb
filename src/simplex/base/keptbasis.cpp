// What a run leaves behind for the next one. Cost: O(nonzeros of the basis) to keep and to compare.
#include "simplex/base/keptbasis.h"

#include "simplex/base/scale.h"

namespace tvn {

namespace {

bool is_kept_basic(const kept_basis& b, const problem_view& lp, const solution_view& keys, int64_t k) noexcept {
  const int32_t i = b.item[k];
  if (i >= 0) return i < lp.numcon && keys.skc[i] == sk_bas && TVN_simplex_keepsrow(lp, &keys, i);
  return ~i < lp.numvar && keys.skx[~i] == sk_bas;
}

int64_t count_basics(const problem_view& lp, const solution_view& keys) noexcept {
  int64_t num = std::count(keys.skx, keys.skx + lp.numvar, sk_bas);
  for (int32_t i = 0; i < lp.numcon; i++) num += keys.skc[i] == sk_bas && TVN_simplex_keepsrow(lp, &keys, i);
  return num;
}

// Fills user2row; false when the rows are not those of the record.
bool rows_fit(const kept_basis& b, const problem_view& lp, const solution_view& keys,
              buffer<int32_t>& user2row) noexcept {
  int32_t m = 0;
  for (int32_t i = 0; i < lp.numcon; i++) {
    user2row[i] = -1;
    if (!TVN_simplex_keepsrow(lp, &keys, i)) continue;
    if (m == b.con.size() || b.con[m] != i) return false;
    user2row[i] = m++;
  }
  return m == b.con.size();
}

bool column_fits(const kept_basis& b, const problem_view& lp, const buffer<int32_t>& user2row, int64_t k) noexcept {
  const int32_t j = ~b.item[k];
  int64_t at = b.beg[k];
  for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) {
    const int32_t row = user2row[lp.sub[p]];
    if (row < 0 || lp.val[p] == 0.0) continue;
    if (at == b.beg[k + 1] || b.sub[at] != row || b.val[at] != lp.val[p]) return false;
    at++;
  }
  return at == b.beg[k + 1];
}

// The numbers of the basic columns as the user has them; those of the working problem differ by the scales.
void copy_columns(kept_basis& b, const simplex_state& s, const problem_view& lp) {
  const simplex_work& w = s.work;
  int64_t nz = 0;
  for (int32_t k = 0; k < w.m; k++) nz += w.is_logical(s.fac.head[k]) ? 0 : w.colcount(s.fac.head[k]);
  b.beg.reset(s.sys, int64_t{w.m} + 1);
  b.sub.reset(s.sys, nz);
  b.val.reset(s.sys, nz);
  nz = 0;
  for (int32_t k = 0; k < w.m; k++) {
    b.beg[k] = nz;
    if (b.item[k] >= 0) continue;
    const int32_t j = ~b.item[k];
    for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) {
      const int32_t row = w.user2row[lp.sub[p]];
      if (row < 0 || lp.val[p] == 0.0) continue;
      b.sub[nz] = row;
      b.val[nz++] = lp.val[p];
    }
  }
  b.beg[w.m] = nz;
}

void keep_weights(kept_basis& b, const simplex_state& s) {
  b.weightkind = 0;
  b.weight.clear();
  if (s.dualweight.empty() || s.dualweightkind == 0) return;
  b.weight.reset(s.sys, s.work.m);
  for (int32_t k = 0; k < s.work.m; k++) b.weight[k] = s.dualweight[s.fac.head[k]];
  b.weightkind = s.dualweightkind;
}

void keep_factor(kept_basis& b, simplex_state& s, const problem_view& lp) {
  const simplex_work& w = s.work;
  b.con.reset(s.sys, w.m);
  b.rowscale.reset(s.sys, w.m);
  std::copy(w.row2user.begin(), w.row2user.end(), b.con.begin());
  std::copy(w.rowscale.begin(), w.rowscale.end(), b.rowscale.begin());
  copy_columns(b, s, lp);
  std::swap(b.factor, s.fac.factor);
  TVN_lu_putgeta(b.factor, nullptr, nullptr); // both look into the state
  TVN_lu_putprogressfunc(b.factor, nullptr, nullptr);
  b.since = s.fac.since;
  b.factored = true;
  s.fac.usable = false;
}

} // namespace

bool TVN_simplex_isscaled(const kept_basis& b) noexcept {
  const auto other = [](double f) { return f != 1.0; };
  return std::any_of(b.rowscale.begin(), b.rowscale.end(), other) || std::any_of(b.unit.begin(), b.unit.end(), other);
}

bool TVN_simplex_basisfits(sysenv& sys, const kept_basis& b, const problem_view& lp, const solution_view& keys) {
  const int64_t m = b.count;
  if (!b.factored || m != b.con.size() || count_basics(lp, keys) != m) return false;
  buffer<int32_t> user2row(sys, lp.numcon);
  if (!rows_fit(b, lp, keys, user2row)) return false;
  for (int64_t k = 0; k < m; k++)
    if (!is_kept_basic(b, lp, keys, k) || (b.item[k] < 0 && !column_fits(b, lp, user2row, k))) return false;
  return true;
}

void TVN_simplex_scaleaskept(const kept_basis& b, simplex_work& w) {
  if (!TVN_simplex_isscaled(b)) return;
  std::copy(b.rowscale.begin(), b.rowscale.end(), w.rowscale.begin());
  TVN_simplex_scalecolumns(w);
  for (int32_t k = 0; k < b.count; k++)
    if (b.item[k] < 0) w.colscale[w.user2col[~b.item[k]]] = b.unit[k];
}

void TVN_simplex_takefactor(kept_basis& b, simplex_state& s) {
  const simplex_work& w = s.work;
  std::fill(s.fac.pos.begin(), s.fac.pos.end(), -1);
  for (int32_t k = 0; k < w.m; k++) {
    const int32_t i = b.item[k];
    const int32_t j = i >= 0 ? w.user2row[i] : w.m + w.user2col[~i];
    s.fac.head[k] = j;
    s.fac.pos[j] = k;
  }
  std::swap(s.fac.factor, b.factor);
  TVN_lu_putgeta(s.fac.factor, b.factor.set.getcolhandle, b.factor.set.getcol);
  TVN_lu_putprogressfunc(s.fac.factor, b.factor.set.progresshandle, b.factor.set.progress);
  s.fac.since = b.since;
  s.fac.usable = s.factorready = true;
  TVN_simplex_dropfactor(b);
}

void TVN_simplex_getweights(const kept_basis& b, simplex_state& s) {
  const simplex_work& w = s.work;
  s.dualweightkind = b.weightkind;
  if (b.weightkind == 0) return;
  s.dualweight.reset(s.sys, w.total, 0.0);
  for (int32_t k = 0; k < b.count; k++) {
    const int32_t i = b.item[k];
    const int64_t known = i >= 0 ? w.user2row.size() : w.user2col.size();
    if ((i >= 0 ? i : ~i) >= known) continue;
    const int32_t at = i >= 0 ? w.user2row[i] : w.user2col[~i];
    if (at < 0) continue;
    const int32_t j = i >= 0 ? at : w.m + at;
    if (s.fac.pos[j] < 0) continue;
    const double ratio = b.unit[k] / w.factor(j); // a row of the inverse is in the unit of its item
    s.dualweight[j] = b.weight[k] > 0 ? 1 + (b.weight[k] - 1) * ratio * ratio : 0.0;
  }
}

void TVN_simplex_updatebasis(kept_basis& b, simplex_state& s, const problem_view& lp, bool withfactor) {
  const simplex_work& w = s.work;
  TVN_simplex_dropfactor(b);
  b.count = 0;
  b.item.reset(s.sys, w.m);
  b.unit.reset(s.sys, w.m);
  for (int32_t k = 0; k < w.m; k++) {
    const int32_t j = s.fac.head[k];
    b.item[k] = w.is_logical(j) ? w.row2user[j] : ~w.col2user[j - w.m];
    b.unit[k] = w.factor(j);
  }
  b.count = w.m;
  keep_weights(b, s);
  if (withfactor && s.fac.usable) keep_factor(b, s, lp);
}

void TVN_simplex_renamebasis(kept_basis& b, const int32_t* con2user, const int32_t* var2user) noexcept {
  TVN_simplex_dropfactor(b);
  for (int32_t k = 0; k < b.count; k++) b.item[k] = b.item[k] >= 0 ? con2user[b.item[k]] : ~var2user[~b.item[k]];
}

void TVN_simplex_remapbasis(kept_basis& b, bool con, int32_t first, array_view<const int32_t> map) noexcept {
  TVN_simplex_dropfactor(b);
  int32_t num = 0;
  for (int32_t k = 0; k < b.count; k++) {
    const int32_t i = b.item[k], index = i >= 0 ? i : ~i;
    int32_t to = index;
    if ((i >= 0) == con && index >= first) {
      const int64_t at = int64_t{index} - first;
      to = at < map.size() ? map[at] : -1;
    }
    if (to < 0) continue;
    b.item[num] = i >= 0 ? to : ~to;
    b.unit[num] = b.unit[k];
    if (!b.weight.empty()) b.weight[num] = b.weight[k];
    num++;
  }
  b.count = num;
}

void TVN_simplex_dropfactor(kept_basis& b) noexcept {
  b.factored = false;
  TVN_lu_delete(b.factor);
  for (buffer<int32_t>* v : {&b.con, &b.sub}) v->clear();
  for (buffer<double>* v : {&b.rowscale, &b.val}) v->clear();
  b.beg.clear();
}

} // namespace tvn
