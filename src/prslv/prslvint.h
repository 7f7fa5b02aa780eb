// Inside presolve: the context, its live matrix, the record stack, and the actions that reductions are made of.
//
// A reduction looks at the live problem, decides, pushes its record and then changes the problem by the actions below,
// in this order, so that the newest record is always undone on the problem as the reduction left it. The actions keep
// counts of live entries and activities up to date and put what they touch on the agenda (`prslv_due`); no reduction
// searches the problem for what has changed. Entry and exit: activities equal a recount but for rounding, scratch is
// clean, each live row and column that may give something is due. An undo restores primal values, duals and keys, so
// that residuals do not grow and the number of basics follows that of live rows.
// Cost: each action is linear in the row or column that it touches, and counts it as work for the next question.
#pragma once

#include "prslv/prslv.h"

#include <cmath>
#include <cstddef>
#include <limits>

namespace tvn {

inline constexpr double prslv_inf = std::numeric_limits<double>::infinity();

// One direction of the matrix: line k holds positions beg[k] .. beg[k]+len[k]-1 and may grow to cap[k] entries.
// Entries of dead partners stay until TVN_prslv_cleana.
struct prslv_lines {
  buffer<int64_t> beg;
  buffer<int32_t> len, cap;
  buffer<int32_t> sub;
  buffer<double> val;
  int64_t free = 0; // first position behind all lines
  // Places of one long line, so that many changes to it cost no look at all of it.
  int32_t hub = -1;      // the line, -1: none
  int32_t longline = 0;  // entries that make a line long
  buffer<int32_t> place; // by partner: behind beg of the hub, -1: no entry; clean while there is no hub
};

// What rounding may have done; relative to the sum of the magnitudes that were added.
inline constexpr double cancelledshare = 1e-15; // a sum below it counts as zero
inline constexpr double noiseshare = 1e-13;     // of an activity
inline constexpr double dualnoiseshare = 1e-11; // of a reduced cost
inline constexpr double rownoiseshare = 1e-9;   // of a bound on a row's dual, which other bounds have formed
inline constexpr double lostdigits = 1e8;       // terms to the cost: bounds on duals that say nothing any more
inline constexpr double weaksize = 1e6;         // terms beyond it prove no weak sign
// Of the feasibility tolerance: what a row that goes, or a bound that is dropped, may lean on it. The rest is the
// user's to see.
inline constexpr double leanshare = 1e-3;
inline constexpr double leastsingleton = 1e-9; // a row with less is no bound of its column

// An entry of a row or column: the live one of a singleton, or one that a record keeps.
struct prslv_entry {
  int32_t index;
  double a;
};

// A record stack: types, and records in a byte store, each behind the items that it has beside its fields.
struct prslv_stack {
  vec<int32_t> type;
  bsto store;
  vec<std::byte> items; // of the open record, or of the one last popped
  bool open = false;
  int64_t numsnapshots = 0, snapshotbytes = 0; // records of the input below those of reductions
  int64_t poptype = 0, popbyte = 0;            // read position
};

// Rows or columns due for a check: a ring of indices and their marks.
struct prslv_list {
  buffer<int32_t> item;
  buffer<char> in;
  int32_t head = 0, size = 0;
};

// Bounds of columns with the rows that imply them.
struct prslv_boundset {
  buffer<double> lower, upper;    // [numvar]
  buffer<int32_t> lowrow, upprow; // [numvar] -1: the stored bound
  buffer<char> held;              // [numcon] rows that others lean on
};

// Least and largest activities of the rows.
struct prslv_activities {
  buffer<double> lower, upper;        // [numcon] sums of the finite terms
  buffer<int32_t> numlower, numupper; // [numcon] infinite terms
};

// Rows and columns that are due for a look.
struct prslv_due {
  prslv_list rows, cols;
};

// Who watches a run.
struct prslv_run {
  prslv_stats* stats = nullptr;
  prslv_progress progress;
  bool stop = false;
  int64_t work = 0; // entries visited since they were last asked
};

// Clean between calls: colwork and rowwork 0, rowmark and colmark -1.
struct prslv_scratch {
  buffer<double> rowwork, colwork; // [numcon], [numvar]
  buffer<int32_t> rowmark, colmark;
  buffer<int32_t> subwork;
  buffer<double> valwork; // [max(numcon, numvar)] each
  vec<int32_t> pivotrows; // of the column that is substituted
};

// Bounds on row duals: what row signs and singleton columns say, and what all columns say.
struct prslv_dualbounds {
  buffer<double> yl, yu, tyl, tyu; // [numcon]
};

// Certificate of the live problem.
struct prslv_certificate {
  int32_t row = -1, col = -1, col2 = -1;
  double rowval = 0, colval = 0, col2val = 0;
  bool crossing = false; // the bounds of row or col cross
  vec<int32_t> rows;     // of a combination of equalities
  vec<double> vals;
};

// Q of the objective without its diagonal, both halves by columns; with the columns' kinds.
struct prslv_quadratic {
  buffer<prslv_term> term; // [numvar]
  buffer<int64_t> beg;     // [numvar + 1] empty: there is no Q
  buffer<int32_t> sub;
  buffer<double> val, diag;
};

// Cones by their live members, heads first; end is beg where a cone is dead.
struct prslv_cones {
  int32_t num = 0;
  buffer<int32_t> type, beg, end, sub;
};

struct prslv_context {
  sysenv* sys = nullptr;
  prslv_problem p;
  prslv_param param;
  int32_t status = prs_undecided;
  prslv_lines row, col;
  int64_t cleanfree = 0; // first free positions after the last cleaning, summed
  buffer<char> conlive, varlive, conlin;
  prslv_quadratic q;
  prslv_cones cone;
  buffer<int32_t> connz, varnz; // live entries
  prslv_activities act;
  prslv_due due;
  buffer<double> rowmax; // [numcon] bound of a row's coefficients, negative: not known
  prslv_stack stk;
  prslv_run run;
  prslv_audit audit;
  prslv_sink sink;
  prslv_scratch tmp;
  prslv_dualbounds dual;
  prslv_boundset implied;
  prslv_certificate cert;
};

// --- reading the live problem

inline double con_lower(const prslv_context& x, int32_t i) {
  return has_lower(x.p.bkc[i]) && x.p.blc[i] > -bound_infinity ? x.p.blc[i] : -prslv_inf;
}
inline double con_upper(const prslv_context& x, int32_t i) {
  return has_upper(x.p.bkc[i]) && x.p.buc[i] < bound_infinity ? x.p.buc[i] : prslv_inf;
}
inline double var_lower(const prslv_context& x, int32_t j) {
  return has_lower(x.p.bkx[j]) && x.p.blx[j] > -bound_infinity ? x.p.blx[j] : -prslv_inf;
}
inline double var_upper(const prslv_context& x, int32_t j) {
  return has_upper(x.p.bkx[j]) && x.p.bux[j] < bound_infinity ? x.p.bux[j] : prslv_inf;
}
inline int32_t key_of(double lo, double up) {
  if (lo == -prslv_inf) return up == prslv_inf ? bk_fr : bk_up;
  return up == prslv_inf ? bk_lo : lo == up ? bk_fx : bk_ra;
}

// What a reduction may do with a column. An integer column takes integral values and no others: it is not expressed by
// other columns, no linear duality reaches through it, and it is fixed only where it may stand. Duality still holds
// between continuous columns and rows, since it holds for each choice of the integer ones.
inline bool is_integer(const prslv_context& x, int32_t j) { return x.p.varint && x.p.varint[j]; }
inline bool is_linear(const prslv_context& x, int32_t j) { return x.q.term[j] == prslv_term::none; }
// A column in Q takes new bounds, values and costs like any other; its reduced cost changes with the point.
inline bool may_move(const prslv_context& x, int32_t j) {
  return is_linear(x, j) || x.q.term[j] == prslv_term::objective;
}
inline bool may_bound(const prslv_context& x, int32_t j) { return may_move(x, j) && !is_integer(x, j); }
// Whether row i, of column j alone, may become its bound. Bounds of members of cones are rows again for the optimizer,
// but for a 0, which makes cones smaller.
inline bool may_bound_by(const prslv_context& x, int32_t i, int32_t j) {
  return may_bound(x, j) || (x.q.term[j] == prslv_term::cone && !is_integer(x, j) && con_lower(x, i) == 0 &&
                             con_upper(x, i) == 0);
}
inline bool may_substitute(const prslv_context& x, int32_t j) { return is_linear(x, j) && !is_integer(x, j); }
inline bool may_use_dual(const prslv_context& x, int32_t j) { return is_linear(x, j) && !is_integer(x, j); }
inline bool may_fix(const prslv_context& x, int32_t j, double value) {
  return may_move(x, j) && (!is_integer(x, j) || value == std::floor(value));
}

// f(j, a) for the live entries of row i, f(i, a) for those of column j.
template <class F> void for_row(const prslv_context& x, int32_t i, F f) {
  for (int64_t p = x.row.beg[i], e = p + x.row.len[i]; p < e; p++)
    if (x.varlive[x.row.sub[p]]) f(x.row.sub[p], x.row.val[p]);
}
// f(k, q) for the live columns that stand with j in Q, others than itself.
template <class F> void for_quadratic(const prslv_context& x, int32_t j, F f) {
  if (x.q.beg.empty()) return;
  for (int64_t p = x.q.beg[j]; p < x.q.beg[j + 1]; p++)
    if (x.varlive[x.q.sub[p]]) f(x.q.sub[p], x.q.val[p]);
}
template <class F> void for_col(const prslv_context& x, int32_t j, F f) {
  for (int64_t p = x.col.beg[j], e = p + x.col.len[j]; p < e; p++)
    if (x.conlive[x.col.sub[p]]) f(x.col.sub[p], x.col.val[p]);
}

inline bool TVN_prslv_canbefixed(const prslv_context& x, double l, double u) {
  return std::fabs(u - l) <= x.param.tolx;
}
inline bool TVN_prslv_isinfeasible(const prslv_context& x, double l, double u) {
  return l - u > x.param.tolx * std::max(1.0, std::fabs(u));
}
inline bool TVN_prslv_updateaiszero(const prslv_context& x, double a, double old) {
  return std::fabs(a) <= std::max(x.param.reldrop * std::fabs(old), x.param.tolaij);
}

prslv_entry TVN_prslv_getconsin(const prslv_context& x, int32_t i);
prslv_entry TVN_prslv_getvarsin(const prslv_context& x, int32_t j);

// True when the run must end. Asks often: the clock is that of the run_watch behind the progress function.
bool TVN_prslv_asked(prslv_run& run);
inline bool TVN_prslv_stopped(prslv_run& run, int64_t work) {
  constexpr int64_t worklimit = 50000; // entries, well below a millisecond
  run.work += work + 1;
  return run.stop || (run.work >= worklimit && TVN_prslv_asked(run));
}

// --- lists of rows and columns due

void TVN_prslv_initlist(sysenv& sys, int32_t n, prslv_list& l);
void TVN_prslv_emptylist(prslv_list& l);
void TVN_prslv_updatelist(prslv_list& l, int32_t i);
int32_t TVN_prslv_poplist(prslv_list& l); // -1: empty

// A column is due when it lost a row, when what a row asks of it or what it costs changed, or when its bounds did. One
// of many rows waits for the next pass, so that a cascade costs what it reduces.
inline void make_due(const prslv_context& x, int32_t j, prslv_due& due) {
  constexpr int32_t longest = 100;
  if (x.varnz[j] <= longest) TVN_prslv_updatelist(due.cols, j);
}
inline void make_columns_due(const prslv_context& x, int32_t i, prslv_due& due) {
  for_row(x, i, [&](int32_t j, double) { make_due(x, j, due); });
}

// Whether a stands out in row i: a tiny coefficient turns a bound of its column into noise of the row and the other way
// about. The largest coefficient is that of when it was last looked for, or has come since: not below today's.
inline bool is_decent(const prslv_context& x, int32_t i, double a, buffer<double>& rowmax) {
  constexpr double leastshare = 1e-3; // of the largest coefficient
  double& biggest = rowmax[i];
  if (biggest < 0) for_row(x, i, [&](int32_t, double v) { biggest = std::max(biggest, std::fabs(v)); });
  return std::fabs(a) >= leastshare * biggest;
}

// --- matrix

// A stop leaves the matrix unfinished in these three: who calls them looks at x.run.stop before anything else.
void TVN_prslv_makematrix(prslv_context& x);
void TVN_prslv_cleana(prslv_context& x); // drops dead entries, closes gaps, renews the room for fill
// Room for `need` more entries in line k; false when there is none.
[[nodiscard]] bool TVN_prslv_growline(prslv_lines& l, int32_t k, int32_t need);
// Room for the fill of a substitution of column j by row i, by cleaning if need be; false when there is none.
[[nodiscard]] bool TVN_prslv_pivotroom(prslv_context& x, int32_t i, int32_t j);
// Every other row k of column j gets row k - a_kj/a_ij * row i, whose right-hand side is b; costs alike. Row i and
// column j die. The room must have been made.
void TVN_prslv_substitute(prslv_context& x, int32_t i, int32_t j, double aij, double b);

// Live rows or columns that are multiples of others: vector k is scale[k] times vector first[k] <= k. Cleans the
// matrix.
struct prslv_multiples {
  buffer<int32_t> first;
  buffer<double> scale;
};
void TVN_prslv_findmultiples(prslv_context& x, bool byrow, prslv_multiples& found);

// --- activities

void TVN_prslv_conactivity(const prslv_context& x, int32_t i, prslv_activities& act); // afresh
void TVN_prslv_allactivities(const prslv_context& x, prslv_activities& act, prslv_run& run);
// Adds (sign 1) or takes away (-1) the term a x_j of row i, x_j between lo and up.
void TVN_prslv_addterm(prslv_activities& act, int32_t i, double a, double lo, double up, int32_t sign);
// New bounds of column j: activities of its rows, which become due. Bounds alone where activities are formed later.
void TVN_prslv_putvarbounds(prslv_context& x, int32_t j, double lo, double up);
void TVN_prslv_setvarbounds(prslv_problem& p, int32_t j, double lo, double up);
void TVN_prslv_putconbounds(prslv_problem& p, int32_t i, double lo, double up);
struct prslv_implied {
  double lower = -prslv_inf, upper = prslv_inf;
  int32_t lowrow = -1, upprow = -1;
};
// Bounds that one row, or all live linear rows, imply on column j. The activities must be good.
void TVN_prslv_impliedvarbound(const prslv_context& x, double a, int32_t i, int32_t j, double& lower, double& upper);
prslv_implied TVN_prslv_impliedboundsonvarj(const prslv_context& x, int32_t j);
// Whether row i, on a fresh activity and by a decent coefficient, keeps column j at `own` or inside.
bool TVN_prslv_rowimplies(prslv_context& x, int32_t i, int32_t j, bool lower, double own);
// Whether rows imply the bounds of column j; proven on fresh activities.
bool TVN_prslv_impliedfreevar(prslv_context& x, int32_t j);

// --- actions on the problem that many reductions share

void TVN_prslv_killcon(prslv_context& x,
                       int32_t i);                                 // dead, counts of its columns, which become due
void TVN_prslv_killvar(prslv_context& x, int32_t j, double value); // dead at a value that moves into bounds and cfix

inline void TVN_prslv_initwork(sysenv& sys, prslv_context& x) {
  const int64_t m = x.p.numcon, n = x.p.numvar, big = std::max(m, n) + 1;
  x.tmp.rowwork.reset(sys, m, 0.0);
  x.tmp.colwork.reset(sys, n, 0.0);
  x.tmp.rowmark.reset(sys, m, -1);
  x.tmp.colmark.reset(sys, n, -1);
  x.tmp.subwork.reset(sys, big);
  x.tmp.valwork.reset(sys, big);
  for (auto* b : {&x.implied.lower, &x.implied.upper}) b->reset(sys, n);
  for (auto* b : {&x.implied.lowrow, &x.implied.upprow}) b->reset(sys, n);
  x.implied.held.reset(sys, m);
  for (auto* b : {&x.dual.yl, &x.dual.yu, &x.dual.tyl, &x.dual.tyu}) b->reset(sys, m);
}

// --- postsolve

struct prslv_post {
  prslv_context& x;
  solution_view& s;
  prslv_walk walk;
  double pf, df; // factors of primal and dual right-hand sides
  bool certificate() const { return walk == prslv_walk::prim_certificate || walk == prslv_walk::dual_certificate; }
  int32_t rest() const { return walk == prslv_walk::basis ? sk_bas : sk_supbas; } // key of what is restored inside
  double bound(double b) const { return std::isinf(b) ? b : pf * b; }
};

// Splits d of a row or column over its two slacks: by its key, or by sign.
void TVN_prslv_splitdual(double d, int32_t key, double& sl, double& su);
// The nonbasic key of an item of bound key bk with reduced cost d.
int32_t TVN_prslv_sidekey(int32_t bk, double d);

// --- reductions; each file holds reduce and restore

// confree: redundant rows and sides, empty rows.
void TVN_prslv_conrelax(prslv_context& x, int32_t i, int32_t rtype = rt_conrelax);
void TVN_prslv_dropside(prslv_context& x, int32_t i, bool upper);
void TVN_prslv_conempty(prslv_context& x, int32_t i);
void TVN_prslv_coninfeasax(prslv_context& x, int32_t i, bool lower);
void prslv_undoconrelax(prslv_post& w);
// consin: a row with one column is a bound.
void TVN_prslv_consin(prslv_context& x, int32_t i, int32_t rtype = rt_consin);
void prslv_undoconsin(prslv_post& w);
// conforce: a row that can only be met at its extreme.
bool TVN_prslv_conforce(prslv_context& x, int32_t i, bool lower);
void prslv_undoconforce(prslv_post& w);
// varfix: a column goes to a value.
void TVN_prslv_varfix(prslv_context& x, int32_t j, double value, int32_t rtype);
void TVN_prslv_emptyvariables(prslv_context& x);
void prslv_undovarfix(prslv_post& w, int32_t rtype);
// varslack: a column of one row is taken into the row.
bool TVN_prslv_linvarsininlineq(prslv_context& x, int32_t i, int32_t j, double a);
void prslv_undovarslack(prslv_post& w);
// doubleton: an equality of two columns.
bool prslv_doubletoncon(prslv_context& x, int32_t i, bool active = true);
prslv_code TVN_prslv_doubletoncons(prslv_context& x);
void prslv_undodoubleton(prslv_post& w);
// prselim: implied free columns by substitution.
bool TVN_prslv_tryeliminator(const prslv_context& x, prslv_run& run);
prslv_code TVN_prslv_eliminator2(prslv_context& x);
void prslv_undoelimination(prslv_post& w);
// Column j solved from row i, as both substitutions record it. Items: the rest of the row, then that of the column.
struct prslv_pivot {
  using item = prslv_entry;
  int32_t i, j, numrow, numcol;
  double aij, b, cj, cci;
  int64_t numitems() const { return int64_t{numrow} + numcol; }
};
prslv_pivot TVN_prslv_pushpivot(prslv_context& x, int32_t i, int32_t j, double aij, double b); // with its items
// The pivot under the factors of the walk, with the sums that an undo needs.
struct prslv_pivot_back {
  int32_t i, j;
  double aij, b, cci;
  double redcost; // c_j - sum over the other rows
  double rowrest; // sum of the other entries of row i
};
// Also moves the other rows' activities back.
prslv_pivot_back prslv_popp(prslv_post& w, const prslv_pivot& r, array_view<const prslv_entry> entries);
// dualbnd: bounds on row duals; dominated columns, forced rows. checkvar: what one column and its rows tell by
// themselves.
prslv_code TVN_prslv_dualbounds(prslv_context& x);
void TVN_prslv_checkvar(prslv_context& x, int32_t j);
void TVN_prslv_confixatbounddbg(prslv_context& x, int32_t i, bool lower);
// Sum of a_ij y_i over bounds on y, with the number of infinite terms on each side and the size of the terms.
struct prslv_dualsum {
  double lo = 0, up = 0, size = 0;
  int32_t numlo = 0, numup = 0;
};
prslv_dualsum TVN_prslv_sumduals(const prslv_context& x, int32_t j, const double* yl, const double* yu);
// dualimp: bounds on row duals through column bounds that rows imply.
prslv_code TVN_prslv_impliedduals(prslv_context& x);
void prslv_undoconfix(prslv_post& w, int32_t rtype);
void prslv_undovarforce(prslv_post& w);
// varrelax: column bounds that rows imply.
void TVN_prslv_varrelax(prslv_context& x, int32_t j, bool low, bool upp);
prslv_code TVN_prslv_relax(prslv_context& x);
// dupcon, dupvar.
prslv_code TVN_prslv_checkdupcon(prslv_context& x);
prslv_code TVN_prslv_checkdupvar(prslv_context& x);
void prslv_undodupcon(prslv_post& w);
void prslv_undodupvar(prslv_post& w);
// linblk: dependent equalities.
prslv_code TVN_prslv_chklinblkcon(prslv_context& x);

// cone: cones that become bounds, lose members or go.
void TVN_prslv_checkcones(prslv_context& x);
void TVN_prslv_relaxcones(prslv_context& x);
void prslv_undoconeapex(prslv_post& w);
void prslv_undoconesigns(prslv_post& w);
void prslv_undoconebound(prslv_post& w);
void prslv_undoconehead(prslv_post& w);

// implied: rows that bounds implied by other rows make redundant.
prslv_code TVN_prslv_impliedrows(prslv_context& x);

// checkpro, checkcon.
prslv_code TVN_prslv_checkproblem(prslv_context& x);
prslv_code TVN_prslv_checkconlist(prslv_context& x);

// prlog.
void TVN_prslv_print(const prslv_context& x, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
void TVN_prslv_printoptions(const prslv_context& x);
void TVN_prslv_printsummary(const prslv_context& x);

// Adds the time of a scope to a task.
struct prslv_clock {
  prslv_context& x;
  prslv_task task;
  double start;
  prslv_clock(prslv_context& ctx, prslv_task t) : x(ctx), task(t), start(TVN_sysenv_gettime()) {}
  ~prslv_clock() {
    x.run.stats->seconds[task] += TVN_sysenv_gettime() - start;
    x.run.stats->calls[task]++;
  }
  prslv_clock(const prslv_clock&) = delete;
  prslv_clock& operator=(const prslv_clock&) = delete;
};

} // namespace tvn
