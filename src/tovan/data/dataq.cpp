// Quadratic terms: the objective's and each constraint's region in one pool of lower-triangular triplets.
//
// A new term is merged outside the pool (duplicates summed, sorted by column and row, tiny values dropped) and then
// placed: over its old region if that is long enough, else at the free tail, else after the pool has been packed into
// larger arrays. Regions never overlap; the tail of numqnzfree entries is always free.
#include "tovan/task/api.h"
#include "tovan/data/data.h"
#include "tovan/solution/sol.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

const char label[] = "src/tovan/dataq";

struct qentry {
  int32_t k = 0, i = 0, j = 0; // constraint (0 for the objective), row, column
  double val = 0;
  int64_t order = 0; // as given: duplicates are summed in this order
};

struct qregion {
  int64_t* begin;
  int64_t* end;
};

int64_t num_terms(const problem& p) noexcept {
  int64_t used = p.q.objend - p.q.objbegin;
  if (!p.q.conbegin.empty())
    for (int32_t k = 0; k < p.numcon; k++) used += p.q.conend[k] - p.q.conbegin[k];
  return used;
}

void make_con_regions(task& t) {
  problem& p = t.prob;
  if (!p.q.conbegin.empty() || p.maxnumcon == 0) return;
  buffer<int64_t> begin(*t.sys, p.maxnumcon, 0), end(*t.sys, p.maxnumcon, 0);
  p.q.conbegin.swap(begin);
  p.q.conend.swap(end);
}

// A region that counts as empty for one scope, and is whole again behind it unless it was packed away.
struct emptied_region {
  qregion r;
  int64_t length;
  bool packed = false;

  explicit emptied_region(qregion region) : r(region), length(*region.end - *region.begin) { *r.end = *r.begin; }
  ~emptied_region() {
    if (!packed) *r.end = *r.begin + length;
  }
};

// Room for n entries at the tail; the terms of `gone`, about to be replaced, may be packed away for it.
void room_at_tail(task& t, qregion gone, int64_t n) {
  qterms& q = t.prob.q;
  if (q.numqnzfree >= n) return;
  emptied_region empty(gone);
  const int64_t used = num_terms(t.prob);
  // Many small terms would otherwise move the whole pool once each.
  const int64_t slack = q.maxnumqnz >= 4096 ? q.maxnumqnz / 4 : 0;
  TVN_chgqnz(t, used + n <= q.maxnumqnz ? q.maxnumqnz : std::max(used + n, q.maxnumqnz + slack));
  empty.packed = true;
}

// Sums neighbours with the same place; returns the number left.
template <class Entry, class Same> int64_t sum_neighbours(Entry* e, int64_t n, Same same) noexcept {
  int64_t kept = 0;
  for (int64_t p = 0; p < n; p++) {
    if (kept > 0 && same(e[kept - 1], e[p]))
      e[kept - 1].val += e[p].val;
    else
      e[kept++] = e[p];
  }
  return kept;
}

// Sorts by constraint, column and row and sums duplicates; returns the number left.
int64_t merge_entries(buffer<qentry>& e, int64_t n) noexcept {
  std::sort(e.begin(), e.begin() + n, [](const qentry& a, const qentry& b) {
    if (a.k != b.k) return a.k < b.k;
    if (a.j != b.j) return a.j < b.j;
    return a.i != b.i ? a.i < b.i : a.order < b.order;
  });
  return sum_neighbours(e.data(), n,
                        [](const qentry& a, const qentry& b) { return a.k == b.k && a.i == b.i && a.j == b.j; });
}

// The entries that are large enough to keep, merged.
int64_t collect_entries(task& t, int64_t n, const int32_t* subk, const int32_t* subi, const int32_t* subj,
                        const double* val, buffer<qentry>& e) {
  const double tiny = t.params.dval[TVN_DPAR_DATA_TOL_QIJ];
  e.reset(*t.sys, n);
  int64_t kept = 0;
  for (int64_t p = 0; p < n; p++)
    if (std::fabs(val[p]) > tiny) e[kept++] = {subk ? subk[p] : 0, subi[p], subj[p], val[p], p};
  return merge_entries(e, kept);
}

template <class Entry> void write_entries(qterms& q, int64_t at, const Entry* e, int64_t n) noexcept {
  for (int64_t p = 0; p < n; p++) {
    q.subi[at + p] = e[p].i;
    q.subj[at + p] = e[p].j;
    q.val[at + p] = e[p].val;
  }
}

// Replaces a region.
template <class Entry> void store_region(task& t, qregion r, const Entry* e, int64_t n) {
  qterms& q = t.prob.q;
  if (n > *r.end - *r.begin) {
    room_at_tail(t, r, n);
    *r.begin = q.maxnumqnz - q.numqnzfree;
    q.numqnzfree -= n;
  }
  write_entries(q, *r.begin, e, n);
  *r.end = *r.begin + n;
}

TVNrescodee check_subscript(task& t, const char* argname, int64_t position, int32_t sub) {
  const int32_t numvar = t.prob.numvar, pos = static_cast<int32_t>(position);
  if (sub < 0)
    return report(t, label, __LINE__, TVN_RES_ERR_INDEX_ARR_IS_TOO_SMALL, TVN_userindex(t, sub), argname, pos,
                  TVN_userindex(t, 0));
  if (sub >= numvar)
    return report(t, label, __LINE__, TVN_RES_ERR_INDEX_ARR_IS_TOO_LARGE, TVN_userindex(t, sub), argname, pos,
                  TVN_userindex(t, numvar));
  return TVN_RES_OK;
}

TVNrescodee check_qobj(task& t, int64_t n, const int32_t* subi, const int32_t* subj, const double* val) {
  if (const TVNrescodee code =
          check_arrays(t, label, __LINE__, n, {{subi, "qosubi"}, {subj, "qosubj"}, {val, "qoval"}}))
    return code;
  for (int64_t p = 0; p < n; p++) {
    if (const TVNrescodee code = check_subscript(t, "qosubi", p, subi[p])) return code;
    if (const TVNrescodee code = check_subscript(t, "qosubj", p, subj[p])) return code;
    if (subi[p] < subj[p])
      return report(t, label, __LINE__, TVN_RES_ERR_QOBJ_UPPER_TRIANGLE, TVN_userindex(t, subi[p]),
                    TVN_userindex(t, subj[p]));
    if (!std::isfinite(val[p]))
      return report(t, label, __LINE__, TVN_RES_ERR_INV_QOBJ_VAL, val[p], static_cast<int32_t>(p));
  }
  return TVN_RES_OK;
}

TVNrescodee check_qcon_entry(task& t, int32_t k, int32_t i, int32_t j, double val, int64_t p) {
  if (i < j)
    return report(t, label, __LINE__, TVN_RES_ERR_QCON_UPPER_TRIANGLE, TVN_userindex(t, i), TVN_userindex(t, j),
                  TVN_userindex(t, k));
  if (!std::isfinite(val)) return report(t, label, __LINE__, TVN_RES_ERR_INV_QCON_VAL, val, static_cast<int32_t>(p));
  return TVN_RES_OK;
}

TVNrescodee check_qconk(task& t, int32_t k, int64_t n, const int32_t* subi, const int32_t* subj, const double* val) {
  if (const TVNrescodee code =
          check_arrays(t, label, __LINE__, n, {{subi, "qcsubi"}, {subj, "qcsubj"}, {val, "qcval"}}))
    return code;
  for (int64_t p = 0; p < n; p++) {
    if (const TVNrescodee code = check_subscript(t, "qcsubi", p, subi[p])) return code;
    if (const TVNrescodee code = check_subscript(t, "qcsubj", p, subj[p])) return code;
    if (const TVNrescodee code = check_qcon_entry(t, k, subi[p], subj[p], val[p], p)) return code;
  }
  return TVN_RES_OK;
}

TVNrescodee check_qcon(task& t, int64_t n, const int32_t* subk, const int32_t* subi, const int32_t* subj,
                       const double* val) {
  if (const TVNrescodee code =
          check_arrays(t, label, __LINE__, n, {{subk, "qcsubk"}, {subi, "qcsubi"}, {subj, "qcsubj"}, {val, "qcval"}}))
    return code;
  const int32_t numvar = t.prob.numvar;
  for (int64_t p = 0; p < n; p++) {
    const int32_t k = subk[p], i = subi[p], j = subj[p], pos = static_cast<int32_t>(p);
    if (k < 0 || k >= t.prob.numcon)
      return report(t, label, __LINE__, TVN_RES_ERR_INV_QCON_SUBK, TVN_userindex(t, k), pos);
    if (i < 0)
      return report(t, label, __LINE__, TVN_RES_ERR_QCON_SUBI_TOO_SMALL, TVN_userindex(t, i), pos, TVN_userindex(t, 0));
    if (i >= numvar)
      return report(t, label, __LINE__, TVN_RES_ERR_QCON_SUBI_TOO_LARGE, TVN_userindex(t, i), pos,
                    TVN_userindex(t, numvar));
    if (j < 0 || j >= numvar) return report(t, label, __LINE__, TVN_RES_ERR_INV_QCON_SUBJ, TVN_userindex(t, j), pos);
    if (const TVNrescodee code = check_qcon_entry(t, k, i, j, val[p], p)) return code;
  }
  return TVN_RES_OK;
}

TVNrescodee put_qobj(task& t, int64_t n, const int32_t* subi, const int32_t* subj, const double* val) {
  if (const TVNrescodee code = check_qobj(t, n, subi, subj, val)) return code;
  buffer<qentry> e;
  const int64_t kept = collect_entries(t, n, nullptr, subi, subj, val, e);
  store_region(t, {&t.prob.q.objbegin, &t.prob.q.objend}, e.data(), kept);
  TVN_makestatusunknown(t);
  return TVN_RES_OK;
}

TVNrescodee put_qconk(task& t, int32_t k, int64_t n, const int32_t* subi, const int32_t* subj, const double* val) {
  if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "k", TVN_PI_CON, k)) return code;
  if (const TVNrescodee code = check_qconk(t, k, n, subi, subj, val)) return code;
  buffer<qentry> e;
  const int64_t kept = collect_entries(t, n, nullptr, subi, subj, val, e);
  make_con_regions(t);
  store_region(t, {&t.prob.q.conbegin[k], &t.prob.q.conend[k]}, e.data(), kept);
  TVN_makestatusunknown(t);
  return TVN_RES_OK;
}

// All constraints at once: the old terms go, the new ones are laid out behind the objective.
TVNrescodee put_qcon(task& t, int64_t n, const int32_t* subk, const int32_t* subi, const int32_t* subj,
                     const double* val) {
  if (const TVNrescodee code = check_qcon(t, n, subk, subi, subj, val)) return code;
  qterms& q = t.prob.q;
  buffer<qentry> e;
  const int64_t kept = collect_entries(t, n, subk, subi, subj, val, e);
  make_con_regions(t);
  const int64_t objlen = q.objend - q.objbegin, target = std::max(q.maxnumqnz, objlen + kept);
  qterms fresh;
  fresh.subi.reset(*t.sys, target);
  fresh.subj.reset(*t.sys, target);
  fresh.val.reset(*t.sys, target);
  std::copy_n(q.subi.data() + q.objbegin, objlen, fresh.subi.data());
  std::copy_n(q.subj.data() + q.objbegin, objlen, fresh.subj.data());
  std::copy_n(q.val.data() + q.objbegin, objlen, fresh.val.data());
  write_entries(fresh, objlen, e.data(), kept);
  q.subi.swap(fresh.subi);
  q.subj.swap(fresh.subj);
  q.val.swap(fresh.val);
  q.maxnumqnz = target;
  q.numqnzfree = target - objlen - kept;
  q.objbegin = 0;
  q.objend = objlen;
  int64_t p = 0;
  for (int32_t k = 0; k < t.prob.numcon; k++) {
    q.conbegin[k] = objlen + p;
    while (p < kept && e[p].k == k) p++;
    q.conend[k] = objlen + p;
  }
  TVN_makestatusunknown(t);
  return TVN_RES_OK;
}

int64_t find_qobj(const qterms& q, int32_t i, int32_t j) noexcept {
  for (int64_t p = q.objbegin; p < q.objend; p++)
    if ((q.subi[p] == i && q.subj[p] == j) || (q.subi[p] == j && q.subj[p] == i)) return p;
  return -1;
}

TVNrescodee check_qobj_pair(task& t, int32_t i, int32_t j) {
  if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "i", TVN_PI_VAR, i)) return code;
  return TVN_checkindexdbg(label, __LINE__, "", t, "j", TVN_PI_VAR, j);
}

// A new element at the end of the objective's region, which moves to the tail when it does not end there.
void append_qobj(task& t, int32_t i, int32_t j, double qij) {
  qterms& q = t.prob.q;
  const int64_t len = q.objend - q.objbegin;
  const bool last = len > 0 && q.objend == q.maxnumqnz - q.numqnzfree;
  if (q.numqnzfree < (last ? 1 : len + 1)) {
    TVN_chgqnz(t, std::max(q.maxnumqnz, num_terms(t.prob) + t.params.ival[TVN_IPAR_ALLOC_ADD_QNZ] + len + 1));
    return append_qobj(t, i, j, qij);
  }
  if (!last) {
    const int64_t to = q.maxnumqnz - q.numqnzfree;
    std::copy_n(q.subi.data() + q.objbegin, len, q.subi.data() + to);
    std::copy_n(q.subj.data() + q.objbegin, len, q.subj.data() + to);
    std::copy_n(q.val.data() + q.objbegin, len, q.val.data() + to);
    q.objbegin = to;
    q.objend = to + len;
    q.numqnzfree -= len;
  }
  const qentry e{0, i, j, qij, 0};
  write_entries(q, q.objend++, &e, 1);
  q.numqnzfree--;
}

TVNrescodee put_qobjij(task& t, int32_t i, int32_t j, double qij) {
  if (const TVNrescodee code = check_qobj_pair(t, i, j)) return code;
  if (j > i)
    return report(t, label, __LINE__, TVN_RES_ERR_QOBJ_UPPER_TRIANGLE, TVN_userindex(t, i), TVN_userindex(t, j));
  if (!std::isfinite(qij)) return report(t, label, __LINE__, TVN_RES_ERR_INV_QOBJ_VAL, qij, 0);
  qterms& q = t.prob.q;
  const int64_t at = find_qobj(q, i, j);
  if (std::fabs(qij) <= t.params.dval[TVN_DPAR_DATA_TOL_QIJ]) {
    if (at < 0) return TVN_RES_OK;
    const int64_t last = --q.objend;
    q.subi[at] = q.subi[last];
    q.subj[at] = q.subj[last];
    q.val[at] = q.val[last];
  } else if (at >= 0) {
    q.val[at] = qij;
  } else {
    append_qobj(t, i, j, qij);
  }
  TVN_makestatusunknown(t);
  return TVN_RES_OK;
}

TVNrescodee check_finite(task& t, int32_t k, const vec<qterm>& terms) {
  for (int64_t p = 0; p < terms.size(); p++) {
    if (std::isfinite(terms[p].val)) continue;
    const TVNrescodee code = k < 0 ? TVN_RES_ERR_INV_QOBJ_VAL : TVN_RES_ERR_INV_QCON_VAL;
    return report(t, label, __LINE__, code, terms[p].val, static_cast<int32_t>(p));
  }
  return TVN_RES_OK;
}

} // namespace

void free_qterms(problem& p) noexcept { p.q = qterms{}; }

void TVN_chgqnz(task& t, int64_t target) {
  problem& p = t.prob;
  qterms& q = p.q;
  buffer<int32_t> subi(*t.sys, target), subj(*t.sys, target);
  buffer<double> val(*t.sys, target);
  int64_t to = 0;
  const auto move = [&](int64_t& begin, int64_t& end) {
    const int64_t len = end - begin;
    std::copy_n(q.subi.data() + begin, len, subi.data() + to);
    std::copy_n(q.subj.data() + begin, len, subj.data() + to);
    std::copy_n(q.val.data() + begin, len, val.data() + to);
    begin = to;
    end = to += len;
  };
  move(q.objbegin, q.objend);
  if (!q.conbegin.empty())
    for (int32_t k = 0; k < p.numcon; k++) move(q.conbegin[k], q.conend[k]);
  q.subi.swap(subi);
  q.subj.swap(subj);
  q.val.swap(val);
  q.maxnumqnz = target;
  q.numqnzfree = target - to;
}

TVNrescodee put_terms(task& t, int32_t k, vec<qterm>& terms) {
  if (const TVNrescodee bad = check_finite(t, k, terms)) return bad;
  std::sort(terms.begin(), terms.end(),
            [](const qterm& a, const qterm& b) { return a.j != b.j ? a.j < b.j : a.i < b.i; });
  terms.resize(sum_neighbours(terms.data(), terms.size(),
                              [](const qterm& a, const qterm& b) { return a.i == b.i && a.j == b.j; }));
  if (const TVNrescodee bad = check_finite(t, k, terms)) return bad; // a sum may have left the range
  if (k >= 0) make_con_regions(t);
  qterms& q = t.prob.q;
  store_region(t, k < 0 ? qregion{&q.objbegin, &q.objend} : qregion{&q.conbegin[k], &q.conend[k]}, terms.data(),
               terms.size());
  TVN_makestatusunknown(t);
  return TVN_RES_OK;
}

TVNrescodee put_maxnumqnz(task& t, int64_t n) {
  if (n < num_terms(t.prob)) return report(t, label, __LINE__, TVN_RES_ERR_MAXNUMQNZ);
  if (n != t.prob.q.maxnumqnz) TVN_chgqnz(t, n);
  return TVN_RES_OK;
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_putqobj(TVNtask_t task, int32_t numqonz, const int32_t* qosubi, const int32_t* qosubj,
                        const double* qoval) {
  return api_change(task, [&](tvn::task& t) { return put_qobj(t, numqonz, qosubi, qosubj, qoval); });
}

TVNrescodee TVN_putqobjij(TVNtask_t task, int32_t i, int32_t j, double qoij) {
  return api_change(task, [&](tvn::task& t) { return put_qobjij(t, i, j, qoij); });
}

TVNrescodee TVN_putqconk(TVNtask_t task, int32_t k, int32_t numqcnz, const int32_t* qcsubi, const int32_t* qcsubj,
                         const double* qcval) {
  return api_change(task, [&](tvn::task& t) { return put_qconk(t, k, numqcnz, qcsubi, qcsubj, qcval); });
}

TVNrescodee TVN_putqcon(TVNtask_t task, int32_t numqcnz, const int32_t* qcsubk, const int32_t* qcsubi,
                        const int32_t* qcsubj, const double* qcval) {
  return api_change(task, [&](tvn::task& t) { return put_qcon(t, numqcnz, qcsubk, qcsubi, qcsubj, qcval); });
}

TVNrescodee TVN_getqobjij(TVNtask_t task, int32_t i, int32_t j, double* qoij) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_qobj_pair(t, i, j)) return code;
    const int64_t at = find_qobj(t.prob.q, i, j);
    if (qoij) *qoij = at < 0 ? 0.0 : t.prob.q.val[at];
    return TVN_RES_OK;
  });
}
