// See kktorder.h.
#include "kfac/kktorder.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tvn {

namespace {

// Measured on one core with AVX-512; the ratios decide, not the machine.
constexpr double rate_factor = 3e10;  // flops a second of large fronts
constexpr double second_entry = 2e-9; // what an entry of L costs beside them: assembly, small fronts
constexpr double second_node = 5e-8;
constexpr double rate_solve = 4e9; // bound by memory
constexpr double rate_dense = 8e9; // V' inv(D) V
constexpr double rate_schur = 1.5e9;
constexpr double rate_product = 8e8;   // of A D A'
constexpr double margin_precise = 0.5; // the big system, where columns apart have cost too many digits: it has more
constexpr double margin = 1.1;         // by which another plan must be cheaper

constexpr int32_t maxapart = 100; // more only while they times rows keep below:
constexpr double maxapart_entries = 5e6;
constexpr int32_t spare_repairs = 16;

struct choice_input {
  sysenv& sys;
  const kkt_columns& a;
  const kkt_quadratic& q;
  const kktfac_params& params;
  int64_t nnz = 0;
};

bool set_allowed(int32_t num, int32_t numrow) noexcept {
  return num <= maxapart || static_cast<double>(num) * numrow <= maxapart_entries;
}

// Repairs that are expected: rows that only columns apart meet. Where these are many, no more of them are independent
// than there are such columns.
int32_t empty_rows(const kkt_plan& plan, int32_t numrow) noexcept {
  const bool all = set_allowed(plan.numapart + plan.numempty, numrow);
  return all ? plan.numempty : std::min(plan.numempty, plan.numapart);
}

// Solves with the factor, refinement included, for one factorisation. Rows of the big system without a D of their own
// cost it digits.
double num_solves(kkt_form form) noexcept { return form == kkt_form::adat ? 10 : 15; }

double predict(const kkt_plan& plan, int32_t n, int32_t numrow) noexcept {
  const double solves = num_solves(plan.form);
  const double k = plan.numapart + empty_rows(plan, numrow);
  const auto nnzl = static_cast<double>(plan.figures.nnz);
  return plan.figures.flops / rate_factor + nnzl * second_entry + n * second_node + plan.numprod / rate_product +
         4 * nnzl * (k + solves) / rate_solve + k * k * numrow / rate_dense + 4 * k * numrow * solves / rate_solve +
         k * k * k / 3 / rate_schur;
}

sorder_columns cliques_of(const choice_input& in, buffer<int32_t>& exclude, const kkt_plan& plan) {
  exclude.reset(in.sys, in.a.numcol);
  for (int32_t j = 0; j < in.a.numcol; j++) exclude[j] = plan.apart[j];
  return {in.a.numcol, in.a.beg, in.a.end, in.a.sub, exclude.data(), nullptr};
}

// The order of a method, better than the one that the plan may have.
sfk_code order_plan(const choice_input& in, sorder_method method, kkt_plan& plan) {
  const sorder_graph g = plan.pattern.graph();
  buffer<int32_t> perm(in.sys, g.n), invp(in.sys, g.n), exclude;
  sorder_columns columns;
  const bool cliques = plan.form == kkt_form::adat;
  if (cliques) columns = cliques_of(in, exclude, plan);
  gp_sorder_params params;
  if (!plan.perm.empty()) {
    params.incumbent = plan.perm.data();
    params.incumbentbyfill = true; // by quick_method
  }
  gp_sorder_stats stats;
  if (TVN_sorder_bymethod(in.sys, method, g, cliques ? &columns : nullptr, params, in.params.progress, perm.data(),
                          invp.data(), stats) != sorder_code::ok)
    return sfk_code::stopped;
  plan.figures = stats.best;
  plan.partitioned = stats.partitioned;
  // That method partitions only what has been ordered before.
  plan.final = method == in.params.ordtpe && (method != sorder_method::graphpar2 || params.incumbent);
  plan.perm.swap(perm);
  plan.seconds = static_cast<double>(plan.figures.nnz) > in.params.filltrh ? std::numeric_limits<double>::infinity()
                                                                           : predict(plan, g.n, in.a.numrow);
  return sfk_code::ok;
}

// Enough to compare plans.
sorder_method quick_method(const choice_input& in) noexcept {
  return in.params.ordtpe == sorder_method::none ? sorder_method::none : sorder_method::appminloc2;
}

// failed: beyond the cap.
sfk_code try_adat(const choice_input& in, sorder_method method, kkt_plan& plan) {
  adat_columns sorted;
  const sfk_code sort = TVN_adat_sort(in.sys, in.a, plan.apart.data(), nullptr, in.params.progress, sorted);
  if (sort != sfk_code::ok) return sort;
  plan.numprod = sorted.numprod;
  for (int32_t i = 0; i < in.a.numrow; i++) plan.numempty += sorted.rowbeg[i] == sorted.rowbeg[i + 1];
  if (plan.numapart == 0) plan.numempty = 0;
  if (!set_allowed(plan.numapart + empty_rows(plan, in.a.numrow), in.a.numrow)) return sfk_code::failed;
  const double cap = std::min(in.params.filltrh, 2e9);
  const sfk_code code = TVN_sfk_setup_aat(in.sys, sorted, static_cast<int64_t>(cap), in.params.progress, plan.pattern);
  return code == sfk_code::ok ? order_plan(in, method, plan) : code;
}

void sqdt_pattern(const choice_input& in, kkt_pattern& to) {
  const int32_t n = in.a.numcol, m = in.a.numrow;
  to.beg.reset(in.sys, int64_t{n} + m + 1);
  to.sub.attach(in.sys);
  for (int32_t j = 0; j < n; j++) {
    to.beg[j] = to.sub.size();
    for (int64_t p = in.a.beg[j]; p < in.a.end[j]; p++) to.sub.push_back(n + in.a.sub[p]);
    if (in.q.beg) to.sub.append(in.q.sub + in.q.beg[j], in.q.end[j] - in.q.beg[j]);
  }
  std::fill(to.beg.begin() + n, to.beg.end(), to.sub.size());
}

sfk_code try_sqdt(const choice_input& in, kkt_plan& plan) {
  if (int64_t{in.a.numcol} + in.a.numrow > std::numeric_limits<int32_t>::max()) return sfk_code::failed;
  plan.form = kkt_form::sqdt;
  plan.numprod = static_cast<double>(in.nnz);
  sqdt_pattern(in, plan.pattern);
  return order_plan(in, in.params.ktpe == kkt_form::sqdt || in.q.beg ? in.params.ordtpe : quick_method(in), plan);
}

// Columns that are long enough by falling length, and after how many of them a set may end.
struct dense_search {
  buffer<int32_t> bylength;
  double numprod = 0; // of all columns
  int32_t ends[8];
  int32_t numends = 0;
};

double clique(const kkt_columns& a, int32_t j) noexcept {
  const auto len = static_cast<double>(a.length(j));
  return len * (len + 1) / 2;
}

// The number of columns, longest first, that may be apart: three times longer than the mean of the others.
int32_t count_candidates(const choice_input& in, const dense_search& s) noexcept {
  int64_t rest = in.nnz;
  int32_t found = 0;
  for (int32_t num = 1; num <= s.bylength.size(); num++) {
    const int64_t len = in.a.length(s.bylength[num - 1]);
    rest -= len;
    if (static_cast<double>(len) * (in.a.numcol - num + 1) > 3.0 * static_cast<double>(rest)) found = num;
  }
  return found;
}

// Products that a pattern may cost without a thought.
double product_cap(const choice_input& in) noexcept {
  return std::max(2e6, 16.0 * (in.a.numrow + 2.0 * static_cast<double>(in.nnz)));
}

// The columns whose clique alone is more than a pattern should hold.
int32_t count_oversized(const choice_input& in, const dense_search& s, int32_t candidates) noexcept {
  const double cap = product_cap(in);
  int32_t num = 0;
  while (num < candidates && clique(in.a, s.bylength[num]) > cap) num++;
  return num;
}

// Sets end at the largest falls of length, and behind the last candidate.
void find_ends(const choice_input& in, int32_t first, int32_t last, dense_search& s) {
  constexpr int32_t most = 4;
  s.numends = 0;
  if (last == 0) return;
  double fall[most + 1];
  const auto add = [&](int32_t end, double size) {
    int32_t at = s.numends;
    for (; at > 0 && fall[at - 1] < size; at--) {
      fall[at] = fall[at - 1];
      s.ends[at] = s.ends[at - 1];
    }
    fall[at] = size;
    s.ends[at] = end;
    s.numends = std::min(s.numends + 1, most);
  };
  for (int32_t k = std::max(first, 1); k <= last; k++) {
    if (!set_allowed(k, in.a.numrow)) break;
    const int64_t next = k < s.bylength.size() ? in.a.length(s.bylength[k]) : 0;
    const double size =
        static_cast<double>(in.a.length(s.bylength[k - 1])) / static_cast<double>(std::max<int64_t>(next, 1));
    if (size >= 1.3 || k == last) add(k, k == last ? std::max(size, 1e3) : size);
  }
}

void search_setup(const choice_input& in, dense_search& s) {
  const int64_t least = std::max(in.params.densecol, 20);
  const auto each = [&](auto f) {
    for (int32_t j = 0; in.params.densecol > 0 && j < in.a.numcol; j++)
      if (in.a.length(j) >= least) f(j);
  };
  int32_t num = 0;
  for (int32_t j = 0; j < in.a.numcol; j++) s.numprod += clique(in.a, j);
  each([&](int32_t) { num++; });
  s.bylength.reset(in.sys, num);
  num = 0;
  each([&](int32_t j) { s.bylength[num++] = j; });
  std::sort(s.bylength.begin(), s.bylength.end(), [&](int32_t x, int32_t y) {
    return in.a.length(x) != in.a.length(y) ? in.a.length(x) > in.a.length(y) : x < y;
  });
}

void start_plan(const choice_input& in, const dense_search& s, int32_t num, kkt_plan& plan) {
  plan = kkt_plan{};
  plan.apart.reset(in.sys, in.a.numcol, int8_t{0});
  for (int32_t k = 0; k < num; k++) plan.apart[s.bylength[k]] = 1;
  plan.numapart = num;
}

// Products of A D A' without the longest columns.
double rest_products(const choice_input& in, const dense_search& s, int32_t num) noexcept {
  double sum = s.numprod;
  for (int32_t k = 0; k < num; k++) sum -= clique(in.a, s.bylength[k]);
  return sum;
}

void keep_cheaper(bool& have, double by, kkt_plan& best, kkt_plan& other) {
  if (have && !(other.seconds * by < best.seconds)) return;
  std::swap(best, other);
  have = true;
}

// An order of other columns or of the big system pays where it is short beside what could be saved, and where the
// entries alone do not cost more than all of the best plan.
bool worth_trying(const kkt_plan& best, kkt_form form, double entries) noexcept {
  constexpr double second_order = 1e-7, factorisations = 25;
  const double least = entries * (second_entry + 4 * num_solves(form) / rate_solve);
  return factorisations * best.seconds > entries * second_order && least < best.seconds;
}

// have: a plan of A D A' has been found. What is beyond the cap is no plan.
sfk_code search_adat(const choice_input& in, bool noneapart, kkt_plan& best, bool& have) {
  dense_search s;
  search_setup(in, s);
  const int32_t candidates = noneapart ? 0 : count_candidates(in, s), oversized = count_oversized(in, s, candidates);
  find_ends(in, oversized, candidates, s);
  int32_t tries = 0;
  // The set of those alone comes first, or, where the others together are too many, last: it may not be worth a try
  // then.
  const double bigsystem = static_cast<double>(in.nnz) + in.a.numrow + in.a.numcol;
  const bool last = s.numends > 0 && rest_products(in, s, oversized) > 4 * bigsystem;
  for (int32_t k = 0; k <= s.numends; k++) {
    const int32_t t = last ? (k < s.numends ? k : -1) : k - 1;
    const int32_t num = t < 0 ? oversized : s.ends[t];
    if (t >= 0 && num == oversized) continue;
    const double products = rest_products(in, s, num);
    if (products > in.params.filltrh || !set_allowed(num, in.a.numrow)) continue;
    if (have && !worth_trying(best, kkt_form::adat, std::min(products, 0.5 * in.a.numrow * in.a.numrow))) continue;
    kkt_plan plan;
    start_plan(in, s, num, plan);
    tries++;
    const sfk_code code = try_adat(in, s.numends == 0 ? in.params.ordtpe : quick_method(in), plan);
    if (code == sfk_code::stopped) return code;
    if (code == sfk_code::ok && std::isfinite(plan.seconds)) keep_cheaper(have, margin, best, plan);
  }
  best.numtries = tries;
  return sfk_code::ok;
}

// The big system can only win where columns are apart, or make much more of A A' than they hold.
bool sqdt_may_win(const choice_input& in, const kkt_plan& best) noexcept {
  const auto entries = static_cast<double>(in.nnz) + in.a.numrow + in.a.numcol;
  return worth_trying(best, kkt_form::sqdt, 2 * entries) &&
         (best.numapart > 0 || static_cast<double>(best.pattern.sub.size()) > 2 * entries);
}

} // namespace

int32_t TVN_kktfac_schurspc(const kkt_plan& plan, int32_t numrow) noexcept {
  if (plan.form == kkt_form::adat && plan.numapart == 0) return 0;
  return plan.numapart + std::min(numrow, empty_rows(plan, numrow) + spare_repairs);
}

sfk_code TVN_kktfac_order(sysenv& sys, const kkt_columns& a, const kkt_quadratic& q, const kktfac_params& params,
                          bool noneapart, kkt_plan& plan) {
  choice_input in{sys, a, q, params};
  for (int32_t j = 0; j < a.numcol; j++) in.nnz += a.length(j);
  const bool quadratic = q.beg != nullptr;
  bool have = false;
  kkt_plan best;
  if (params.ktpe != kkt_form::sqdt && !quadratic) {
    const sfk_code code = search_adat(in, noneapart, best, have);
    if (code != sfk_code::ok) return code;
  }
  if (params.ktpe != kkt_form::adat && (!have || sqdt_may_win(in, best))) {
    kkt_plan big;
    const int32_t tries = best.numtries + 1;
    const sfk_code code = try_sqdt(in, big);
    if (code == sfk_code::stopped) return code;
    if (code == sfk_code::ok && std::isfinite(big.seconds))
      keep_cheaper(have, noneapart ? margin_precise : margin, best, big);
    best.numtries = tries;
  }
  if (!have) return sfk_code::failed;
  plan = std::move(best);
  return plan.final ? sfk_code::ok : order_plan(in, params.ordtpe, plan);
}

} // namespace tvn
