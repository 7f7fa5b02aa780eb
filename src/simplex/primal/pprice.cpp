// Pricing of the primal simplex: candidate list, weights, the rules and the switching between them.
//
// Full rules keep the reduced costs of all listed nonbasics and an unordered list of the attractive ones, so a choice
// costs the length of that list. The restricted rules list only the best columns of the last full pass and fill the
// list anew when it is used up. Partial pricing keeps no reduced costs at all: it prices a circular scan with y.
#include "simplex/primal/pstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double noshortlist = 1e300;
constexpr double shortshare = 0.4;       // of the best score: what a new short list holds at least
constexpr int32_t leastcand = 1000;      // candidates from which on a short list is worth its keep,
constexpr int64_t sparserow = 10;        // where there are this many to an entry of the pivot row
constexpr int64_t switchperiod = 1000;   // iterations between looks at the switch
constexpr int64_t edgeperiod = 500;      // the same for exact weights,
constexpr double edgeshare = 1.0;        // which may cost this multiple of all other work
constexpr int64_t refreshperiod = 10000; // iterations on one reference framework, or m
constexpr double rowshare = 0.9;         // of the work saved that may go into pivot rows,
constexpr int64_t longcolumns = 10;      // entries of the average column that are too many for exact weights later on
constexpr double lookshare = 0.1;        // work of the choice by columns
constexpr double degenerateshare = 0.7;  // of a period: go to approximate steepest edge
constexpr double weightnoise = 1e-7;     // on fresh weights, which keeps ties apart
constexpr int32_t pollperiod = 256;      // columns between looks at the clock

// Length of the list of a restricted rule: the more columns there are to a row, the larger part of them.
struct list_part {
  double ratio; // columns and logicals to a row from which on
  int32_t part; // one in so many is listed,
};
constexpr list_part listparts[] = {{3, 3}, {2, 6}, {1.5, 10}, {0, 60}};
constexpr int32_t leastlist = 5000, mostlist = 20000; // within these;
constexpr double wideratio = 5;                       // and with this many to a row
constexpr int32_t widelist = 40000;                   // that

// A scan of partial pricing ends with `target` candidates after one `first`-th of all columns, with half of them after
// one `second`-th, with a tenth after ten `first`-ths.
struct scan_limits {
  int32_t below; // structurals
  int32_t target, first, second;
};
constexpr scan_limits scans[] = {
    {10000, 15, 100, 3}, {30000, 20, 250, 5}, {50000, 25, 450, 7}, {INT32_MAX, 35, 700, 9}};

// The rule to begin with, by columns to a row where logicals count one and a half: the more there are the less may a
// look at all of them cost.
constexpr double logicalweight = 1.5;
constexpr double resetratio = 50;                      // from here on widened bounds come back as soon as may be
constexpr double devexratio = 4, aseratio = 6;         // of a cold start: below, devex; below, approximate edges,
constexpr double restrictratio = 8;                    // below, with a list from a smaller percentage on
constexpr int32_t listpercent = 50, widepercent = 30;  // the percentages, asked for by the user
constexpr int64_t shortcolumns = 2;                    // entries: partial pricing needs no help from weights
constexpr double shortratio = 3, stayratio = 30;       // there, and wherever there are so many: for good
constexpr double warmpartial = 10, warmstayratio = 60; // of a warm start
constexpr int32_t shortrun = 2000;                     // iterations allowed: a list does not pay
constexpr int64_t firstlook = 10;                      // iterations before the rule is looked at again

bool attractive(const primal_state& s, int32_t j, double d) {
  if (s.price.banned[j]) return false;
  switch (s.key[j]) {
  case sk_low: return d < -s.tol.dual;
  case sk_upr: return d > s.tol.dual;
  case sk_supbas: return std::fabs(d) > s.tol.dual;
  default: return false;
  }
}

// Length of the list of a restricted rule, by the shape of the problem.
int32_t list_length(const simplex_work& w, int32_t len) {
  const double q = static_cast<double>(w.total) / std::max(1, w.m);
  if (q >= wideratio) return std::min(len, widelist);
  const list_part* by = listparts;
  while (q < by->ratio) by++;
  return std::min(len, std::clamp(len / by->part, leastlist, mostlist));
}

// Lists the `len` columns of best score, all when there are no more.
void fill_list(primal_state& s) {
  const simplex_work& w = s.work;
  int32_t num = 0;
  for (int32_t j = 0; j < w.total; j++)
    if (s.fac.pos[j] < 0 && !w.is_fixed(j)) s.price.cand[num++] = j;
  const int32_t len = s.price.method > sel_devex ? list_length(w, num) : num;
  s.price.restricted = len < num;
  if (s.price.restricted) {
    auto better = [&](int32_t a, int32_t b) {
      const double sa = attractive(s, a, s.d[a]) ? s.d[a] * s.d[a] / s.price.weight[a] : 0;
      const double sb = attractive(s, b, s.d[b]) ? s.d[b] * s.d[b] / s.price.weight[b] : 0;
      return sa > sb || (sa == sb && a < b);
    };
    std::nth_element(s.price.cand.begin(), s.price.cand.begin() + len, s.price.cand.begin() + num, better);
  }
  for (int32_t p = len; p < num; p++) TVN_simplex_setlisted(s.base, s.price.cand[p], false);
  for (int32_t p = 0; p < len; p++) TVN_simplex_setlisted(s.base, s.price.cand[p], true);
}

// The candidates of a circular scan, best first; false when a whole round finds none.
bool partial_scan(const primal_state& s, primal_pricing& price, buffer<double>& d) {
  const simplex_work& w = s.work;
  const int32_t total = w.total;
  const scan_limits* t = scans;
  while (w.n >= t->below) t++;
  const int32_t first = std::max(1, total / t->first), second = std::max(1, total / t->second);
  price.numplist = 0;
  int32_t j = price.scanstart;
  for (int32_t scanned = 1; scanned <= total; scanned++, j = j + 1 == total ? 0 : j + 1) {
    if (s.fac.pos[j] < 0 && !w.is_fixed(j) && !price.banned[j]) {
      d[j] = s.cost(j) - TVN_simplex_columndot(w, j, s.y.data());
      if (attractive(s, j, d[j])) price.plist[price.numplist++] = j;
    }
    const bool enough = (scanned >= first && price.numplist >= t->target) ||
                        (scanned >= 10 * first && price.numplist >= std::max(1, t->target / 10)) ||
                        (scanned >= second && price.numplist >= t->target / 2) || price.numplist == price.plist.size();
    if (enough) break;
  }
  price.scanstart = j;
  return price.numplist > 0;
}

// Prices the list of the last scan again, drops what is no longer attractive, takes the largest reduced cost.
price_result partial_best(const primal_state& s, primal_pricing& price, buffer<double>& reduced) {
  price_result best;
  int32_t kept = 0;
  for (int32_t p = 0; p < price.numplist; p++) {
    const int32_t j = price.plist[p];
    if (s.fac.pos[j] >= 0) continue;
    const double d = s.cost(j) - TVN_simplex_columndot(s.work, j, s.y.data());
    reduced[j] = d;
    if (!attractive(s, j, d)) continue;
    price.plist[kept++] = j;
    if (best.j < 0 || std::fabs(d) > std::fabs(best.d)) best = {j, d};
  }
  price.numplist = kept;
  return best;
}

price_result select_partial(primal_state& s) {
  constexpr double emptyagain = 0.995; // a random draw above this empties the list
  if (s.ratio.random) s.price.scanstart = static_cast<int32_t>(TVN_simplex_random(s.info.randomstate) * s.work.total);
  if (s.ratio.random || TVN_simplex_random(s.info.randomstate) > emptyagain) s.price.numplist = 0;
  price_result best = partial_best(s, s.price, s.d);
  if (best.j < 0 && partial_scan(s, s.price, s.d)) best = partial_best(s, s.price, s.d);
  return best;
}

void forget_shortlist(primal_pricing& price) noexcept {
  for (int32_t p = 0; p < price.numshort; p++) price.side[price.shortlist[p]] &= static_cast<uint8_t>(~side_short);
  price.numshort = 0;
  price.cutoff = noshortlist;
}

double score(const primal_pricing& price, const buffer<double>& reduced, int32_t j) {
  const double d = reduced[j], square = d * d / price.weight[j];
  return (price.side[j] & side_mask) == side_free ? freeshare * freeshare * square : square;
}

// The best of the short list, which loses what has fallen below the cutoff.
price_result best_of_shortlist(primal_pricing& price, const buffer<double>& d) {
  price_result best;
  double bestscore = price.cutoff;
  for (int32_t p = 0; p < price.numshort;) {
    const int32_t j = price.shortlist[p];
    const double now = (price.side[j] & side_listed) ? score(price, d, j) : 0;
    if (!(now >= price.cutoff)) {
      price.side[j] &= static_cast<uint8_t>(~side_short);
      price.shortlist[p] = price.shortlist[--price.numshort];
      continue;
    }
    if (best.j < 0 || now > bestscore) {
      bestscore = now;
      best = {j, d[j]};
    }
    p++;
  }
  return best;
}

// Compared crosswise, without a division.
price_result best_of_all(const primal_pricing& price, const buffer<double>& d, double& bestscore) {
  price_result best;
  double bestsquare = 0, bestweight = 1;
  const int32_t* const cand = price.cand.data();
  const double *const reduced = d.data(), *const weight = price.weight.data();
  const uint8_t* const side = price.side.data();
  for (int32_t p = 0, num = price.numcand; p < num; p++) {
    const int32_t j = cand[p];
    const double dj = reduced[j], w = weight[j];
    double square = dj * dj;
    if ((side[j] & side_mask) == side_free) square *= freeshare * freeshare;
    if (square * bestweight > bestsquare * w) {
      bestsquare = square;
      bestweight = w;
      best = {j, dj};
    }
  }
  bestscore = bestsquare / bestweight;
  return best;
}

// Where a pivot row meets few of the candidates the best are kept at hand, so that most choices look at them alone
// (Hall and McKinnon 2005). The choice is the same as by a look at all.
price_result best_candidate(primal_pricing& price, const buffer<double>& d, bool drawn, int32_t& random) {
  if (drawn && price.numcand > 0) {
    const auto p = static_cast<int32_t>(TVN_simplex_random(random) * price.numcand);
    return {price.cand[p], d[price.cand[p]]};
  }
  if (price.numshort > 0) {
    const price_result best = best_of_shortlist(price, d);
    if (best.j >= 0) return best;
  }
  double bestscore = 0;
  const price_result best = best_of_all(price, d, bestscore);
  price.cutoff = noshortlist;
  if (price.numcand < leastcand || price.rowcount * sparserow > price.numcand) return best;
  price.cutoff = shortshare * bestscore;
  for (int32_t p = 0; p < price.numcand; p++)
    psimplex_shortlist(price, price.cand[p], d[price.cand[p]], price.weight[price.cand[p]]);
  return best;
}

} // namespace

void psimplex_movecandidate(primal_pricing& price, int32_t j) noexcept {
  price.side[j] ^= side_listed;
  if (price.side[j] & side_listed) {
    price.candpos[j] = price.numcand;
    price.cand[price.numcand++] = j;
    return;
  }
  const int32_t moved = price.cand[--price.numcand], p = price.candpos[j];
  price.cand[p] = moved;
  price.candpos[moved] = p;
}

void psimplex_setcandidate(primal_state& s, int32_t j) noexcept {
  uint8_t side = side_none;
  if (s.inlist[j] && !s.price.banned[j])
    side = s.key[j] == sk_low      ? side_low
           : s.key[j] == sk_upr    ? side_upr
           : s.key[j] == sk_supbas ? side_free
                                   : side_none;
  s.price.side[j] = static_cast<uint8_t>(side | (s.price.side[j] & ~side_mask));
  psimplex_reprice(s.price, j, s.d[j], s.tol.dual);
}

void psimplex_rebuildcandidates(primal_state& s) noexcept {
  forget_shortlist(s.price);
  for (int32_t j = 0; j < s.work.total; j++) s.price.side[j] = side_none;
  s.price.numcand = 0;
  if (s.price.method == sel_partial) {
    s.price.numplist = 0;
    return;
  }
  fill_list(s);
  s.price.listed = s.iter;
  s.price.numcand = 0;
  for (int32_t j = 0; j < s.work.total; j++)
    if (s.fac.pos[j] < 0) psimplex_setcandidate(s, j);
}

void psimplex_resetweights(const primal_state& s, primal_pricing& price, int32_t& random) {
  const simplex_work& w = s.work;
  forget_shortlist(price);
  price.weighterrors = 0;
  price.refreshed = s.iter;
  bool slack = true;
  for (int32_t k = 0; k < w.m && slack; k++) slack = w.is_logical(s.fac.head[k]);
  const bool norms = slack && (price.method == sel_se || price.method == sel_se + sel_restrict);
  for (int32_t j = 0; j < w.total; j++) {
    price.inframe[j] = s.fac.pos[j] < 0;
    price.weight[j] = 1 + weightnoise * TVN_simplex_random(random);
    if (!norms || w.is_logical(j)) continue;
    for (int64_t p = w.colbeg[j - w.m]; p < w.colbeg[j - w.m + 1]; p++) price.weight[j] += w.colval[p] * w.colval[p];
  }
}

void psimplex_enterbasis(primal_state& s, int32_t j) noexcept {
  s.key[j] = sk_bas;
  TVN_simplex_setlisted(s.base, j, false);
  psimplex_setcandidate(s, j);
}

void psimplex_leavebasis(primal_state& s, int32_t j) noexcept {
  if (!s.work.is_fixed(j) && s.price.method != sel_partial) TVN_simplex_setlisted(s.base, j, true);
  psimplex_setcandidate(s, j);
}

// Steepest-edge weights 1 + |B^-1 a_j|^2 of all nonbasics (Goldfarb and Reid 1977).
bool psimplex_exactweights(primal_state& s) {
  const simplex_work& w = s.work;
  for (int32_t j = 0; j < w.total; j++) {
    if (j % pollperiod == 0 && TVN_simplex_poll(s.base)) return false;
    if (s.fac.pos[j] >= 0 || w.is_fixed(j)) continue;
    TVN_simplex_loadcolumn(w, j, s.colrow);
    TVN_lu_ftranl(s.fac.factor, s.colrow);
    TVN_lu_ftranus(s.fac.factor, s.colrow, s.aq, 0.0, dropforward);
    double sum = 1;
    for (int32_t p = 0; p < s.aq.count; p++) sum += s.aq.val[s.aq.idx[p]] * s.aq.val[s.aq.idx[p]];
    s.price.weight[j] = sum;
    s.aq.clear();
  }
  return true;
}

price_result psimplex_select(primal_state& s) {
  if (s.price.method == sel_partial) return select_partial(s);
  price_result best = best_candidate(s.price, s.d, s.ratio.random, s.info.randomstate);
  if (best.j < 0 && s.price.restricted) {
    psimplex_formd(s);
    psimplex_rebuildcandidates(s);
    best = best_candidate(s.price, s.d, s.ratio.random, s.info.randomstate);
  }
  return best;
}

void psimplex_choosepricing(const primal_state& s, primal_pricing& price, bool& resetmode) {
  const simplex_work& w = s.work;
  for (int32_t k = 0; k < w.n; k++) price.maxcollen = std::max(price.maxcollen, w.colbeg[k + 1] - w.colbeg[k]);
  const double m = std::max(1, w.m), r = (logicalweight * m + w.n) / m;
  const bool cold = s.base.cold;
  resetmode = r > resetratio;
  const int32_t pct = s.param.restrictpct;
  price.wanted = sel_switch;
  if (s.param.selection != sel_free) {
    price.method = price.wanted = s.param.selection;
  } else if (cold) {
    if (price.maxcollen <= shortcolumns && r > shortratio)
      price.method = price.wanted = sel_partial;
    else if (r < devexratio)
      price.method = sel_devex;
    else if (r < restrictratio)
      price.method = pct < (r < aseratio ? listpercent : widepercent) ? sel_ase : sel_ase + sel_restrict;
    else
      price.method = sel_partial;
    if (r >= stayratio) price.wanted = sel_partial;
  } else {
    if (r >= warmstayratio)
      price.method = price.wanted = sel_partial;
    else if (r >= warmpartial)
      price.method = sel_partial;
    else if (s.param.maxiterations < shortrun && pct < listpercent)
      price.method = price.wanted = sel_ase;
    else
      price.method = sel_ase + sel_restrict;
  }
  if (pct > listpercent && price.method >= sel_full && price.method <= sel_devex) price.method += sel_restrict;
}

namespace {

// Work of factorisations, updates and solves since the last switch.
double factor_work(const primal_state& s) { return s.effort.factor + TVN_lu_getupdatework(s.fac.factor); }

} // namespace

bool psimplex_choosepricingswitch(primal_state& s) {
  if (s.price.wanted != sel_switch || s.iter < firstlook) return true;
  const simplex_work& w = s.work;
  const double r = (logicalweight * w.m + w.n) / std::max(1, w.m);
  int32_t to = s.price.method;
  if (s.price.method == sel_partial) {
    // Exact weights take a third to a sixth of the iterations; their price is a pivot row in each, a second solve and
    // a look at many more candidates.
    const double fewer = r >= 20 ? 6 : r >= 12 ? 5 : 3;
    const auto since = static_cast<double>(s.iter - s.effort.lastswitch);
    const double row = static_cast<double>(w.colbeg[w.n]) * s.effort.price / std::max(1, w.m) + lookshare * w.n * since;
    // Each exact weight is formed by a solve and follows by a product with its column: with long ones devex is cheaper.
    if (since >= 10 && row < rowshare * fewer * (factor_work(s) + s.effort.price))
      to = w.colbeg[w.n] > longcolumns * w.n ? sel_devex : sel_se;
  } else if (s.price.method == sel_devex && s.iter - s.price.refreshed >= std::max<int64_t>(refreshperiod, w.m)) {
    psimplex_resetweights(s, s.price, s.info.randomstate);
    return true;
  } else if (s.effort.lastswitch == 0 && (s.price.method == sel_devex || s.price.method == sel_ase + sel_restrict)) {
    // Exact weights save about a third of the iterations for one more solve in each. They are formed while the basis is
    // still nearly all logicals, where each costs a few operations.
    to = sel_se;
  } else if (s.iter - s.effort.lastswitch >= edgeperiod && s.price.method == sel_se &&
             s.effort.edge > edgeshare * (factor_work(s) - s.effort.edge + s.effort.price)) {
    // Hyper-sparse: the solve for the exact weights costs more than all else, and devex takes a few iterations more.
    to = sel_devex;
  } else if (s.iter - s.effort.lastswitch >= switchperiod && s.price.method == sel_devex &&
             static_cast<double>(s.info.count[kind_primal].degenerate) >
                 degenerateshare * static_cast<double>(s.iter)) {
    to = s.param.restrictpct < 50 || r < 3 ? sel_ase : sel_ase + sel_restrict;
  }
  if (to == s.price.method) return true;
  s.price.method = to;
  s.effort.lastswitch = s.iter;
  s.effort.price = s.effort.edge = 0;
  s.effort.factor = -TVN_lu_getupdatework(s.fac.factor);
  psimplex_formd(s);
  psimplex_resetweights(s, s.price, s.info.randomstate);
  const bool done = to != sel_se || psimplex_exactweights(s);
  psimplex_rebuildcandidates(s);
  return done;
}

} // namespace tvn
