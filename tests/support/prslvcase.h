// Problems made for presolve, and the auditor that checks a solution at every depth of the record stack.
#pragma once

#include "prslv/reduced.h"
#include "run.h"

#include <map>
#include <set>

namespace tvntest {

// Presolve of a problem, in an environment of its own.
struct presolved {
  checked_env sys;
  tvn::editable_problem e;
  tvn::prslv_context* ctx = nullptr;
  tvn::prslv_stats stats;
  explicit presolved(lp_case& p, const char* varint = nullptr) {
    tvn::TVN_prslv_copyeditable(*sys, p.view(), e);
    e.p.varint = varint;
    ctx = tvn::TVN_prslv_make(*sys, e.p);
  }
  ~presolved() { tvn::TVN_prslv_delete(ctx); }
  presolved(const presolved&) = delete;
  presolved& operator=(const presolved&) = delete;
  tvn::prslv_code reduce(const tvn::prslv_param& param, const tvn::prslv_progress& progress = {}) {
    return tvn::TVN_prslv_reduce(*ctx, param, stats, progress);
  }
};

// Rows of a random small problem, grown by the structures that presolve looks for.
struct case_maker {
  std::mt19937_64 rng;
  std::vector<std::map<int, double>> rows;
  std::vector<double> blc, buc, blx, bux, c;
  explicit case_maker(uint64_t seed) : rng(seed) {}
  int pick(int lo, int hi) { return static_cast<int>(rng() % static_cast<uint64_t>(hi - lo + 1)) + lo; }
  double coef() { return pick(0, 1) ? pick(1, 3) : -pick(1, 3); }
  int add_col(double lo, double up, double cost) {
    blx.push_back(lo);
    bux.push_back(up);
    c.push_back(cost);
    return static_cast<int>(c.size()) - 1;
  }
  int add_row(double lo, double up) {
    rows.emplace_back();
    blc.push_back(lo);
    buc.push_back(up);
    return static_cast<int>(rows.size()) - 1;
  }
  int any_row() { return pick(0, static_cast<int>(rows.size()) - 1); }
  int any_col() { return pick(0, static_cast<int>(c.size()) - 1); }
  double multiple_of(int k) {
    static const double t[] = {1, -1, 2, -0.5, 3, -4};
    return t[k % 6];
  }
  // Moves row bounds to hold a point within the column bounds, and costs to the sides that are bounded.
  void make_solvable() {
    std::vector<double> x;
    for (size_t j = 0; j < c.size(); j++) {
      x.push_back(blx[j] > -1e30  ? std::min(blx[j] + pick(0, 2), bux[j])
                  : bux[j] < 1e30 ? bux[j] - pick(0, 2)
                                  : pick(-2, 2));
      if (bux[j] >= 1e30 && blx[j] > -1e30) c[j] = std::fabs(c[j]);
      if (blx[j] <= -1e30 && bux[j] < 1e30) c[j] = -std::fabs(c[j]);
    }
    for (size_t i = 0; i < rows.size(); i++) {
      double act = 0;
      for (const auto& [j, a] : rows[i]) act += a * x[size_t(j)];
      const bool equal = blc[i] == buc[i];
      if (equal || blc[i] > act) blc[i] = act;
      if (equal || buc[i] < act) buc[i] = act;
    }
  }
  lp_case finish() {
    lp_case p;
    p.m = static_cast<int32_t>(rows.size());
    p.n = static_cast<int32_t>(c.size());
    p.c = c;
    p.blc = blc, p.buc = buc, p.blx = blx, p.bux = bux;
    p.cfix = pick(-2, 2);
    std::vector<std::vector<std::pair<int, double>>> cols(c.size());
    for (int i = 0; i < p.m; i++)
      for (const auto& [j, a] : rows[size_t(i)]) cols[size_t(j)].emplace_back(i, a);
    for (const auto& col : cols) {
      for (const auto& [i, a] : col) p.put(i, a);
      p.end_column();
    }
    if (cols.empty()) p.beg.push_back(0);
    return p;
  }
};

inline lp_case structured_case(uint64_t seed) {
  case_maker k(seed);
  const int m = k.pick(2, 6), n = k.pick(3, 8);
  auto interval = [&](double& lo, double& up) {
    const int kind = k.pick(0, 6), x = k.pick(-3, 3), w = k.pick(0, 5);
    lo = kind == 0 || kind == 1 ? -1e30 : x;
    up = kind == 0 ? 1e30 : kind == 1 || kind == 2 ? x + w : kind == 3 || kind == 4 ? 1e30 : x + w;
    if (kind == 6) lo = 0, up = 1e30;
  };
  for (int j = 0; j < n; j++) {
    double lo, up;
    interval(lo, up);
    k.add_col(lo, up, k.pick(-3, 4));
  }
  for (int i = 0; i < m; i++) {
    double lo, up;
    interval(lo, up);
    if (k.pick(0, 2) == 0) up = lo = lo <= -1e30 ? (up >= 1e30 ? 1 : up) : lo;
    const int r = k.add_row(lo, up);
    const int len = k.pick(1, 4);
    for (int e = 0; e < len; e++) k.rows[size_t(r)][k.any_col()] = k.coef();
  }
  const int extras = k.pick(0, 5);
  for (int e = 0; e < extras; e++) {
    switch (k.pick(0, 9)) {
    case 0: { // a slack of an equality
      const int i = k.any_row();
      k.rows[size_t(i)][k.add_col(0, k.pick(0, 1) ? 1e30 : k.pick(1, 4), k.pick(0, 1) * k.pick(-2, 2))] = k.coef();
      k.blc[size_t(i)] = k.buc[size_t(i)] = k.pick(-3, 3);
      break;
    }
    case 1: { // a link of two columns
      const int i = k.add_row(0, 0);
      k.blc[size_t(i)] = k.buc[size_t(i)] = k.pick(-2, 2);
      k.rows[size_t(i)][k.any_col()] = k.coef();
      k.rows[size_t(i)][k.any_col()] = k.coef();
      break;
    }
    case 2: { // a repeated row
      const int r = k.any_row();
      double lo, up;
      interval(lo, up);
      if (k.pick(0, 2) == 0) lo = k.blc[size_t(r)], up = k.buc[size_t(r)];
      const int i = k.add_row(lo, up);
      const double t = k.multiple_of(k.pick(0, 5));
      for (const auto& [j, a] : k.rows[size_t(r)]) k.rows[size_t(i)][j] = t * a;
      break;
    }
    case 3: { // a repeated column
      const int j = k.any_col();
      const double t = k.multiple_of(k.pick(0, 5));
      double lo, up;
      interval(lo, up);
      const int q = k.add_col(lo, up, t * k.c[size_t(j)] + (k.pick(0, 1) ? 0 : k.pick(-1, 1)));
      for (auto& row : k.rows)
        if (row.count(j)) row[q] = t * row[j];
      break;
    }
    case 4: { // a bound as a row
      double lo, up;
      interval(lo, up);
      k.rows[size_t(k.add_row(lo, up))][k.any_col()] = k.coef();
      break;
    }
    case 5: { // a row at its extreme
      const int i = k.add_row(-1e30, 0);
      for (int q = 0; q < 3; q++) {
        const int j = k.any_col();
        k.blx[size_t(j)] = 0;
        k.bux[size_t(j)] = std::max(k.bux[size_t(j)], 0.0);
        k.rows[size_t(i)][j] = k.pick(1, 2);
      }
      break;
    }
    case 6: { // a free column of an equality
      const int j = k.add_col(-1e30, 1e30, k.pick(-1, 1)), i = k.any_row();
      k.blc[size_t(i)] = k.buc[size_t(i)] = k.pick(-3, 3);
      k.rows[size_t(i)][j] = k.coef();
      for (int q = 0; q < 2; q++) k.rows[size_t(k.any_row())][j] = k.coef();
      break;
    }
    case 7: // an expensive column
      k.c[size_t(k.any_col())] += k.pick(5, 30);
      break;
    case 8: // a column that satisfies its rows alone
    {
      const int j = k.add_col(0, 1e30, 0);
      for (int q = 0; q < 2; q++) {
        const int i = k.any_row();
        k.rows[size_t(i)][j] = k.pick(1, 2);
        if (k.blc[size_t(i)] > -1e30) k.buc[size_t(i)] = 1e30;
      }
      break;
    }
    default: { // rows that add up
      const int r = k.any_row(), s = k.any_row();
      const int i = k.add_row(0, 0);
      for (const auto& [j, a] : k.rows[size_t(r)]) k.rows[size_t(i)][j] += a;
      for (const auto& [j, a] : k.rows[size_t(s)]) k.rows[size_t(i)][j] += a;
      for (const int q : {r, s}) k.buc[size_t(q)] = k.blc[size_t(q)] = k.blc[size_t(q)] <= -1e30 ? 1 : k.blc[size_t(q)];
      k.blc[size_t(i)] = k.buc[size_t(i)] = k.blc[size_t(r)] + k.blc[size_t(s)] + (k.pick(0, 9) == 0);
      break;
    }
    }
  }
  if (seed % 4 != 0) k.make_solvable();
  return k.finish();
}

// Columns whose bounds rows imply or nearly imply: rows of one sign hold them from above, rows of both signs from
// below.
inline lp_case covered_case(uint64_t seed) {
  case_maker k(seed);
  const int m = k.pick(3, 9), n = k.pick(5, 14);
  for (int j = 0; j < n; j++) k.add_col(k.pick(0, 9) == 0 ? -1e30 : 0, 1e30, k.pick(-4, 4));
  for (int i = 0; i < m; i++) {
    const bool cover = k.pick(0, 2) > 0;
    const double b = k.pick(1, 6);
    const int r = k.add_row(k.pick(0, 2) == 0 ? b - k.pick(0, 2) : -1e30, b);
    for (int e = k.pick(2, 6); e > 0; e--) k.rows[size_t(r)][k.any_col()] = cover ? k.pick(1, 3) : k.coef();
  }
  for (const auto& row : k.rows) {
    const double b = k.buc[size_t(&row - k.rows.data())];
    for (const auto& [j, a] : row) {
      const int kind = k.pick(0, 5);
      if (a > 0 && kind < 4)
        k.bux[size_t(j)] = std::min(k.bux[size_t(j)], b / a + (kind == 0 ? -0.5 : kind == 1 ? 1 : 0));
    }
  }
  for (int j = 0; j < n; j++) // a second way to say the same, with the other sign
    if (k.pick(0, 3) == 0) {
      const int r = k.add_row(k.pick(-1, 1), 1e30);
      k.rows[size_t(r)][j] = k.pick(1, 2);
      k.rows[size_t(r)][k.any_col()] = -k.pick(1, 2);
    }
  if (seed % 2 != 0) k.make_solvable();
  return k.finish();
}

// Keeps the live problem before each record and judges the solution after the record is undone.
struct auditor {
  struct depth {
    int32_t rtype;
    lp_case p;
    std::vector<int32_t> con, var; // original indices
    std::vector<double> cc;
  };
  std::vector<depth> stack;
  size_t at = 0;
  double tol = 1e-7;
  int32_t solsta = tvn::sol_optimal;
  bool basis = true;      // the walk keeps a basis
  double objective = NAN; // at the depth last judged: no reduction changes it
  double offset = 0;      // a point beside its bounds: what it may be off at any depth; keys say nothing then
  double worst = 0;       // what it was off
  std::string trouble;

  static void call(void* handle, const tvn::prslv_context& ctx, bool undo, int32_t rtype,
                   const tvn::solution_view* sol) {
    auto& self = *static_cast<auditor*>(handle);
    if (undo)
      self.judge_depth(ctx, rtype, *sol);
    else
      self.keep(ctx, rtype);
  }
  tvn::prslv_audit hook() { return {this, call}; }

  void keep(const tvn::prslv_context& ctx, int32_t rtype) {
    const tvn::prslv_problem& q = tvn::TVN_prslv_getproblem(ctx);
    depth d;
    d.rtype = rtype;
    std::map<int32_t, int32_t> row;
    for (int32_t i = 0; i < q.numcon; i++) {
      if (!tvn::TVN_prslv_conislive(ctx, i)) continue;
      row[i] = static_cast<int32_t>(d.con.size());
      d.con.push_back(i);
      d.p.blc.push_back(tvn::has_lower(q.bkc[i]) ? q.blc[i] : -1e30);
      d.p.buc.push_back(tvn::has_upper(q.bkc[i]) ? q.buc[i] : 1e30);
      d.cc.push_back(q.cc[i]);
    }
    std::vector<int32_t> sub(size_t(q.numcon) + 1);
    std::vector<double> val(size_t(q.numcon) + 1);
    for (int32_t j = 0; j < q.numvar; j++) {
      if (!tvn::TVN_prslv_varislive(ctx, j)) continue;
      d.var.push_back(j);
      d.p.c.push_back(q.c[j]);
      d.p.blx.push_back(tvn::has_lower(q.bkx[j]) ? q.blx[j] : -1e30);
      d.p.bux.push_back(tvn::has_upper(q.bkx[j]) ? q.bux[j] : 1e30);
      d.p.beg.push_back(static_cast<int64_t>(d.p.sub.size()));
      const int32_t num = tvn::TVN_prslv_getasimple(ctx, false, j, sub.data(), val.data());
      for (int32_t e = 0; e < num; e++) {
        d.p.sub.push_back(row.at(sub[size_t(e)]));
        d.p.val.push_back(val[size_t(e)]);
      }
    }
    const tvn::cone_view cones = tvn::TVN_prslv_getcones(ctx);
    for (int32_t k = 0; k < cones.num; k++) {
      if (cones.size(k) == 0) continue;
      d.p.cones.push_back({cones.type[k], {}});
      for (int32_t e = 0; e < cones.size(k); e++) {
        const auto place = std::lower_bound(d.var.begin(), d.var.end(), cones.members(k)[e]);
        d.p.cones.back().members.push_back(static_cast<int32_t>(place - d.var.begin()));
      }
    }
    d.p.beg.push_back(static_cast<int64_t>(d.p.sub.size()));
    d.p.m = static_cast<int32_t>(d.con.size());
    d.p.n = static_cast<int32_t>(d.var.size());
    d.p.cfix = q.cfix;
    stack.push_back(std::move(d));
    at = stack.size();
  }

  void judge_depth(const tvn::prslv_context&, int32_t rtype, const tvn::solution_view& s) {
    if (at == 0) at = stack.size(); // one more walk
    depth& d = stack[--at];
    if (d.rtype != rtype) note(d, "another type", rtype);
    if (!trouble.empty() || rtype == tvn::rt_blkfix) return;
    const bool optimal = solsta == tvn::sol_optimal;
    lp_point point(d.p);
    for (size_t i = 0; i < d.con.size(); i++) {
      const int32_t u = d.con[i];
      point.skc[i] = s.skc[u];
      point.xc[i] = s.xc[u];
      point.y[i] = s.y[u] + (optimal ? d.cc[i] : 0.0); // the judge knows no cost of rows: it moves into the columns
      point.slc[i] = s.slc[u];
      point.suc[i] = s.suc[u];
    }
    lp_case p = d.p;
    for (size_t j = 0; j < d.var.size(); j++) {
      const int32_t u = d.var[j];
      point.skx[j] = s.skx[u];
      point.xx[j] = s.xx[u];
      point.slx[j] = s.slx[u];
      point.sux[j] = s.sux[u];
      point.snx[j] = s.snx[u];
      for (int64_t e = p.beg[j]; e < p.beg[j + 1]; e++) p.c[j] += d.cc[size_t(p.sub[size_t(e)])] * p.val[size_t(e)];
    }
    if (!optimal) {
      const double viol = solsta == tvn::sol_prim_infeas_cer ? judge_infeasible(p, point) : judge_unbounded(p, point);
      if (!(viol <= tol)) note(d, "certificate", viol);
      return;
    }
    if (offset > 0) return judge_beside(d, p, point);
    if (!d.p.cones.empty() || !basis) { // keys say nothing
      std::fill(point.skc.begin(), point.skc.end(), tvn::sk_unk);
      std::fill(point.skx.begin(), point.skx.end(), tvn::sk_unk);
    }
    const verdict v = judge(p, point);
    if (!(v.primal <= tol)) note(d, "primal", v.primal);
    if (!(v.dual <= tol)) note(d, "dual", v.dual);
    if (!(v.comp <= tol)) note(d, "comp", v.comp);
    if (std::fabs(v.objective - objective) > tol * (1 + std::fabs(objective)))
      note(d, "objective", v.objective - objective);
    objective = v.objective;
    if (basis && v.basics != p.m) note(d, "basics", v.basics - p.m);
  }

  void judge_beside(const depth& d, const lp_case& p, lp_point& point) {
    std::fill(point.skc.begin(), point.skc.end(), tvn::sk_unk);
    std::fill(point.skx.begin(), point.skx.end(), tvn::sk_unk);
    const verdict v = judge(p, point);
    worst = std::max(worst, v.primal);
    if (!(v.primal <= offset)) note(d, "primal", v.primal);
    if (!(v.dual <= tol)) note(d, "dual", v.dual);
  }

  void note(const depth& d, const char* what, double value) {
    trouble = "after undo of type " + std::to_string(d.rtype) + " (record " + std::to_string(at) + "): " + what + " " +
              std::to_string(value);
  }
};

} // namespace tvntest
