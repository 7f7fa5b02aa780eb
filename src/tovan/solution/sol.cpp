// The slots of the solutions: storage, layout, moves. See solution.h.
#include "tovan/solution/sol.h"
#include "tovan/task/api.h"

namespace tvn {

namespace {

const char label[] = "src/tovan/sol";

int64_t num_keys(int32_t which, int64_t m, int64_t n, int64_t k) noexcept {
  return m + n + (which == TVN_SOL_ITR ? k : 0);
}

int64_t num_values(int32_t which, int64_t m, int64_t n, int64_t k) noexcept {
  switch (which) {
  case TVN_SOL_ITR: return 4 * m + 4 * n + k;
  case TVN_SOL_BAS: return 4 * m + 3 * n;
  default: return m + n;
  }
}

sol_ptrs slot_blocks(int32_t which, int32_t* keys, double* v, int64_t m, int64_t n) noexcept {
  sol_ptrs p;
  p.skc = keys;
  p.skx = keys + m;
  p.xc = v;
  p.xx = v + m;
  if (which == TVN_SOL_ITG) return p;
  p.y = v + m + n;
  p.slc = v + 2 * m + n;
  p.suc = v + 3 * m + n;
  p.slx = v + 4 * m + n;
  p.sux = v + 4 * m + 2 * n;
  if (which == TVN_SOL_BAS) return p;
  p.skn = keys + m + n;
  p.snx = v + 4 * m + 3 * n;
  return p;
}

template <class T> void copy_block(const T* from, T* to, int32_t count) noexcept {
  if (from && to) std::copy_n(from, count, to);
}

void copy_blocks(const sol_ptrs& from, const sol_ptrs& to, const problem& p) noexcept {
  copy_block(from.skc, to.skc, p.numcon);
  copy_block(from.skx, to.skx, p.numvar);
  copy_block(from.skn, to.skn, p.numcone);
  for (const auto side : {&sol_ptrs::xc, &sol_ptrs::y, &sol_ptrs::slc, &sol_ptrs::suc})
    copy_block(from.*side, to.*side, p.numcon);
  for (const auto side : {&sol_ptrs::xx, &sol_ptrs::slx, &sol_ptrs::sux, &sol_ptrs::snx})
    copy_block(from.*side, to.*side, p.numvar);
}

bool no_capacity(const problem& p) noexcept { return p.maxnumcon == 0 && p.maxnumvar == 0 && p.maxnumcone == 0; }

template <class T> void remap_block(T* block, T* work, int32_t first, int32_t count, const int32_t* map) noexcept {
  if (!block || count == 0) return;
  std::copy_n(block + first, count, work);
  for (int32_t i = 0; i < count; i++)
    if (map[i] >= 0) block[map[i]] = work[i];
}

template <class T> void zero_block(T* block, int32_t count) noexcept {
  if (block) std::fill_n(block, count, T{});
}

} // namespace

TVNrescodee check_whichsol(task& t, int32_t whichsol) {
  if (whichsol >= TVN_SOL_ITR && whichsol <= TVN_SOL_ITG) return TVN_RES_OK;
  return report(t, label, __LINE__, TVN_RES_ERR_WHICHSOL, whichsol);
}

TVNrescodee check_defined(task& t, int32_t whichsol) {
  if (const TVNrescodee code = check_whichsol(t, whichsol)) return code;
  return TVN_solutiondef(t, whichsol) ? TVN_RES_OK : report(t, label, __LINE__, TVN_RES_ERR_UNDEF_SOLUTION, whichsol);
}

bool TVN_solutiondef(const task& t, int32_t whichsol) noexcept {
  return t.sols.defined[whichsol] && (no_capacity(t.prob) || !t.sols.keys[whichsol].empty());
}

sol_ptrs TVN_getsolptrs(task& t, int32_t whichsol) {
  buffer<int32_t>& keys = t.sols.keys[whichsol];
  if (keys.empty()) {
    if (whichsol == TVN_SOL_BAS && !no_capacity(t.prob))
      TVN_stoptask(t, label, __LINE__, "Basic soltion is not defined");
    return {};
  }
  return slot_blocks(whichsol, keys.data(), t.sols.values[whichsol].data(), t.prob.maxnumcon, t.prob.maxnumvar);
}

void TVN_getsolptrs(task& t, int32_t whichsol, int32_t** prosta, int32_t** solsta, int32_t** skc, int32_t** skx,
                    int32_t** skn, double** xc, double** xx, double** y, double** slc, double** suc, double** slx,
                    double** sux, double** snx) {
  const sol_ptrs s = TVN_getsolptrs(t, whichsol);
  put_out(prosta, &t.sols.prosta[whichsol]);
  put_out(solsta, &t.sols.solsta[whichsol]);
  put_out(skc, s.skc);
  put_out(skx, s.skx);
  put_out(skn, s.skn);
  put_out(xc, s.xc);
  put_out(xx, s.xx);
  put_out(y, s.y);
  put_out(slc, s.slc);
  put_out(suc, s.suc);
  put_out(slx, s.slx);
  put_out(sux, s.sux);
  put_out(snx, s.snx);
}

void TVN_makesolution(task& t, int32_t whichsol) {
  const problem& p = t.prob;
  if (!t.sols.keys[whichsol].empty() || no_capacity(p)) return;
  buffer<int32_t> keys(*t.sys, num_keys(whichsol, p.maxnumcon, p.maxnumvar, p.maxnumcone), 0);
  buffer<double> values(*t.sys, num_values(whichsol, p.maxnumcon, p.maxnumvar, p.maxnumcone), 0.0);
  t.sols.keys[whichsol].swap(keys);
  t.sols.values[whichsol].swap(values);
  t.sols.prosta[whichsol] = TVN_PRO_STA_UNKNOWN;
  t.sols.solsta[whichsol] = TVN_SOL_STA_UNKNOWN;
}

void TVN_makesolutionstatusunknown(task& t, int32_t whichsol) {
  TVN_makesolution(t, whichsol);
  t.sols.defined[whichsol] = 1;
  t.sols.solsta[whichsol] = TVN_SOL_STA_UNKNOWN;
  zero_block(t.sols.keys[whichsol].data(), static_cast<int32_t>(t.sols.keys[whichsol].size()));
  std::fill_n(t.sols.values[whichsol].data(), t.sols.values[whichsol].size(), 0.0);
}

void resize_solutions(task& t, int32_t maxnumcon, int32_t maxnumvar, int32_t maxnumcone) {
  const problem& p = t.prob;
  if (maxnumcon < p.numcon || maxnumvar < p.numvar || maxnumcone < p.numcone)
    TVN_stoptask(t, label, __LINE__, "numcon: %d numvar: %d numcone: %d maxnumvar: %d maxnumcon: %d maxnumcone: %d",
                 p.numcon, p.numvar, p.numcone, maxnumvar, maxnumcon, maxnumcone);
  numbered<buffer<int32_t>, 3> keys;
  numbered<buffer<double>, 3> values;
  for (int32_t which = 0; which < 3; which++) {
    if (t.sols.keys[which].empty() && !t.sols.defined[which]) continue;
    keys[which].reset(*t.sys, num_keys(which, maxnumcon, maxnumvar, maxnumcone), 0);
    values[which].reset(*t.sys, num_values(which, maxnumcon, maxnumvar, maxnumcone), 0.0);
    if (t.sols.keys[which].empty() || keys[which].empty()) continue;
    copy_blocks(slot_blocks(which, t.sols.keys[which].data(), t.sols.values[which].data(), p.maxnumcon, p.maxnumvar),
                slot_blocks(which, keys[which].data(), values[which].data(), maxnumcon, maxnumvar), p);
  }
  for (int32_t which = 0; which < 3; which++) {
    t.sols.keys[which].swap(keys[which]);
    t.sols.values[which].swap(values[which]);
  }
}

void delete_solutions(solution_store& s) noexcept { s = solution_store{}; }

void TVN_invalidallsol(task& t) noexcept { t.sols.defined.fill(0); }

void remap_solutions(task& t, int32_t accmode, int32_t first, int32_t count, const int32_t* map, double* work,
                     int32_t* keywork) noexcept {
  for (int32_t which = 0; which < 3; which++) {
    if (t.sols.keys[which].empty()) continue;
    const sol_ptrs s = TVN_getsolptrs(t, which);
    if (accmode == TVN_ACC_CON) {
      remap_block(s.skc, keywork, first, count, map);
      for (double* block : {s.xc, s.y, s.slc, s.suc}) remap_block(block, work, first, count, map);
    } else {
      remap_block(s.skx, keywork, first, count, map);
      for (double* block : {s.xx, s.slx, s.sux, s.snx}) remap_block(block, work, first, count, map);
    }
  }
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_solutiondef(TVNtask_t task, int32_t whichsol, int32_t* isdef) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_whichsol(t, whichsol)) return code;
    if (isdef) *isdef = tvn::TVN_solutiondef(t, whichsol);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_undefsolution(TVNtask_t task, int32_t whichsol) {
  return api_change(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_whichsol(t, whichsol)) return code;
    t.sols.defined[whichsol] = 0;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_makesolution(TVNtask_t task, int32_t whichsol) {
  return api_change(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_whichsol(t, whichsol)) return code;
    tvn::TVN_makesolution(t, whichsol);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_deletesolutions(TVNtask_t task) {
  return api_change(task, [&](tvn::task& t) {
    delete_solutions(t.sols);
    t.kept = kept_basis{};
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_deletesolution(TVNtask_t task, int32_t whichsol) {
  return api_change(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_whichsol(t, whichsol)) return code;
    t.sols.keys[whichsol].clear();
    t.sols.values[whichsol].clear();
    t.sols.prosta[whichsol] = t.sols.solsta[whichsol] = t.sols.defined[whichsol] = 0;
    return TVN_RES_OK;
  });
}
