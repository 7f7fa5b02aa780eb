// Maximum transversal: a cheap assignment, then phases of depth-first searches for augmenting paths.
//
// A column without a row looks first for a free row among its own (lookahead; Duff 1981), else goes on to the columns
// that hold its rows. A path that ends in a free row exchanges partners along itself and matches one column more.
// Within a phase no column is entered twice, so the paths are disjoint and a phase costs O(entries) (Pothen and Fan
// 1990); a phase without a path proves that there is none (Berge 1957). Worst case O(columns * entries); a few phases
// are usual. A row that is matched stays so, so the place of the lookahead in a column only moves forward over the
// whole run. Memory is linear and paths are kept on a stack of our own: their length is not bounded by that of the
// program's.
#include "order/blkord.h"

namespace tvn {

namespace {

// Rows that may be matched anew.
struct row_filter {
  const int32_t* count = nullptr; // null: all
  int32_t threshold = 0;
  bool operator()(int32_t i) const { return !count || count[i] < threshold; }
};

void pair(blkord_matching& match, int32_t i, int32_t k) {
  match.col2row[k] = i;
  match.row2col[i] = k;
}

// Columns by length, of equal length by index.
void order_by_length(sysenv& sys, const blkord_pattern& a, buffer<int32_t>& order) {
  const auto length = [&](int32_t k) { return std::min<int64_t>(a.end[k] - a.beg[k], a.nrow); };
  buffer<int32_t> begin(sys, static_cast<int64_t>(a.nrow) + 2, 0);
  for (int32_t k = 0; k < a.ncol; k++) begin[length(k) + 1]++;
  for (int64_t l = 0; l <= a.nrow; l++) begin[l + 1] += begin[l];
  for (int32_t k = 0; k < a.ncol; k++) order[begin[length(k)]++] = k;
}

int32_t assign_cheaply(sysenv& sys, const blkord_pattern& a, const row_filter& allowed, blkord_matching& match) {
  buffer<int32_t> order(sys, a.ncol), rowlength(sys, a.nrow, 0);
  order_by_length(sys, a, order);
  for (int32_t k = 0; k < a.ncol; k++)
    for (int64_t p = a.beg[k]; p < a.end[k]; p++) rowlength[a.sub[p]]++;
  int32_t num = 0;
  for (const int32_t k : order) {
    int32_t best = match.col2row[k];
    if (best < 0) {
      for (int64_t p = a.beg[k]; p < a.end[k]; p++) {
        const int32_t i = a.sub[p];
        if (match.row2col[i] >= 0 || !allowed(i)) continue;
        if (best < 0 || rowlength[i] < rowlength[best]) best = i;
      }
      if (best >= 0) pair(match, best, k);
    }
    num += best >= 0;
  }
  return num;
}

constexpr int64_t workperpoll = 200000; // columns entered and entries passed: below a millisecond

// Places in the columns: next free row to look at, next row to go on through; the phase that entered a column last.
struct search_state {
  buffer<int64_t> look, next; // [ncol]
  buffer<int32_t> phase;      // [ncol]
  buffer<int32_t> path;       // [ncol] columns from the root
  const blkord_progress& progress;
  int64_t work = 0; // since the last poll
  bool stopped = false;

  void count(int64_t done) {
    work += 1 + done;
    if (work < workperpoll || stopped) return;
    work = 0;
    stopped = progress.fn && progress.fn(progress.handle) != 0;
  }
};

int32_t look_ahead(const blkord_pattern& a, const row_filter& allowed, const blkord_matching& match, search_state& s,
                   int32_t k) {
  while (s.look[k] < a.end[k]) {
    const int32_t i = a.sub[s.look[k]++];
    if (match.row2col[i] < 0 && allowed(i)) return i;
  }
  return -1;
}

// The next column behind one of k's rows that this phase has not entered, -1: none.
int32_t go_on(const blkord_pattern& a, const blkord_matching& match, search_state& s, int32_t k, int32_t phase) {
  while (s.next[k] < a.end[k]) {
    const int32_t other = match.row2col[a.sub[s.next[k]++]];
    if (other >= 0 && s.phase[other] != phase) return other;
  }
  return -1;
}

// Each column of the path takes the row of the one behind it, the last one the free row.
void exchange(blkord_matching& match, const search_state& s, int32_t depth, int32_t freerow) {
  for (int32_t i = freerow; depth >= 0; depth--) {
    const int32_t k = s.path[depth], before = match.col2row[k];
    pair(match, i, k);
    i = before;
  }
}

bool augment(const blkord_pattern& a, const row_filter& allowed, blkord_matching& match, search_state& s, int32_t root,
             int32_t phase) {
  int32_t depth = -1, entered = root;
  for (;;) {
    if (entered >= 0) {
      s.path[++depth] = entered;
      s.phase[entered] = phase;
      s.next[entered] = a.beg[entered];
      const int32_t i = look_ahead(a, allowed, match, s, entered);
      if (i >= 0) {
        exchange(match, s, depth, i);
        return true;
      }
    }
    const int64_t from = s.next[s.path[depth]];
    entered = go_on(a, match, s, s.path[depth], phase);
    s.count(s.next[s.path[depth]] - from);
    if (s.stopped || (entered < 0 && depth-- == 0)) return false;
  }
}

int32_t find_maximum(sysenv& sys, const blkord_pattern& a, const row_filter& allowed, blkord_matching& match,
                     const blkord_progress& progress) {
  int32_t num = assign_cheaply(sys, a, allowed, match);
  if (num == a.ncol) return num;
  search_state s{{sys, a.ncol}, {sys, a.ncol}, {sys, a.ncol, 0}, {sys, a.ncol}, progress};
  std::copy_n(a.beg, a.ncol, s.look.begin());
  int32_t found = 1;
  for (int32_t phase = 1; found > 0 && num < a.ncol && !s.stopped; phase++) {
    found = 0;
    for (int32_t k = 0; k < a.ncol && !s.stopped; k++)
      if (match.col2row[k] < 0) found += augment(a, allowed, match, s, k, phase);
    num += found;
  }
  return num;
}

} // namespace

int32_t TVN_blkord_appmaxtran(sysenv& sys, const blkord_pattern& a, blkord_matching match) {
  return assign_cheaply(sys, a, {}, match);
}

int32_t TVN_blkord_maxtran(sysenv& sys, const blkord_pattern& a, blkord_matching match,
                           const blkord_progress& progress) {
  return find_maximum(sys, a, {}, match, progress);
}

int32_t TVN_blkord_maxtranwithrowtrh(sysenv& sys, const blkord_pattern& a, const int32_t* rowcount, int32_t threshold,
                                     blkord_matching match, const blkord_progress& progress) {
  return find_maximum(sys, a, {rowcount, threshold}, match, progress);
}

} // namespace tvn
