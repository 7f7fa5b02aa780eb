// The header of a start from the keys of a caller, who may name too few basics or too many.
//
// m basics are taken as they are; whether they are independent the factor tells, which puts a logical for each column
// that is not. With another number the header is made regular in its pattern: a transversal matches the basic
// structurals to rows, and each row that it leaves out gets its logical. A logical that stood in any other row would
// leave a structural without a pivot, which the repair would then throw out in favour of another logical.
// Which rows are left out is a matter of choice among the largest matchings, and the keys say which are wanted: first
// rows whose logical is basic, then those that the keys leave open (rows that are new), then those at a bound.
// Equations come last, as the slack of one that is basic has to leave again. A matched row stays matched when the
// search goes on, so it runs once over the rows of each rank, those to be matched first in front.
// The pattern is not all: values cancel, and columns that are dependent in their rows may be independent in others. So
// when the factor is singular the logicals that the keys do not name are taken out again, and it puts one in each row
// without a pivot. That alone would keep as many basics, but chooses rows by their sparsity: where three tenths of a
// basis were missing it took a tenth more iterations of the primal simplex than the transversal.
// Cost: linear in the nonzeros of the basics but for bad luck, and no more memory than that of the header.
#include "simplex/start/startbasis.h"

namespace tvn {

namespace {

enum row_rank : int32_t { rank_equation, rank_bound, rank_open, rank_basic, num_ranks };

row_rank rank_of(const simplex_work& w, int32_t i, int32_t key) {
  if (key == sk_bas) return rank_basic;
  if (w.is_fixed(i)) return rank_equation;
  return key == sk_low || key == sk_upr || key == sk_fix ? rank_bound : rank_open;
}

void append(simplex_fac& f, int32_t& num, int32_t j) {
  f.pos[j] = num;
  f.head[num++] = j;
}

// Header of matched structurals and of the logicals of all other rows.
void fill_header(simplex_state& s, const solution_view& sol) {
  const simplex_work& w = s.work;
  vec<int32_t> columns(s.sys);
  for (int32_t k = 0; k < w.n; k++)
    if (TVN_simplex_userkey(w, sol, w.m + k) == sk_bas) columns.push_back(k);
  buffer<int32_t> rank(s.sys, w.m), row2col(s.sys, w.m);
  for (int32_t i = 0; i < w.m; i++) rank[i] = rank_of(w, i, TVN_simplex_userkey(w, sol, i));
  TVN_simplex_maxtransversal(
      s.sys, w, columns, rank.data(), num_ranks, row2col,
      {&s, [](void* handle) -> int32_t { return TVN_simplex_poll(*static_cast<simplex_state*>(handle)); }});
  int32_t num = 0;
  for (int32_t i = 0; i < w.m; i++) append(s.fac, num, row2col[i] < 0 ? i : w.m + columns[row2col[i]]);
}

} // namespace

int32_t TVN_simplex_maxtransversal(sysenv& sys, const simplex_work& w, array_view<const int32_t> columns,
                                   const int32_t* rowrank, int32_t numranks, array_view<int32_t> row2col,
                                   const blkord_progress& progress) {
  const auto num = static_cast<int32_t>(columns.size());
  buffer<int64_t> beg(sys, num), end(sys, num);
  buffer<int32_t> col2row(sys, num, -1);
  for (int32_t c = 0; c < num; c++) {
    const int32_t k = columns[c];
    beg[c] = w.colbeg[k];
    end[c] = w.colbeg[k + 1];
  }
  std::fill(row2col.begin(), row2col.end(), -1);
  const blkord_pattern a{w.m, num, beg.data(), end.data(), w.colsub.data()};
  int32_t matched = 0;
  for (int32_t rank = 0; rank < numranks && matched < num; rank++)
    matched = TVN_blkord_maxtranwithrowtrh(sys, a, rowrank, rank + 1, {col2row, row2col}, progress);
  return matched;
}

void TVN_simplex_basisfromkeys(simplex_state& s, const solution_view& sol) {
  const simplex_work& w = s.work;
  std::fill(s.fac.pos.begin(), s.fac.pos.end(), -1);
  const auto is_basic = [&](int32_t j) { return TVN_simplex_userkey(w, sol, j) == sk_bas; };
  s.info.numbasics = 0;
  for (int32_t j = 0; j < w.total; j++) s.info.numbasics += is_basic(j);
  if (s.info.numbasics != w.m) {
    fill_header(s, sol);
    return;
  }
  int32_t num = 0;
  for (int32_t j = w.m; j < w.total; j++)
    if (is_basic(j)) append(s.fac, num, j);
  for (int32_t j = 0; j < w.m; j++)
    if (is_basic(j)) append(s.fac, num, j);
}

void TVN_simplex_movefill(simplex_state& s, const solution_view& sol) {
  simplex_fac& f = s.fac;
  bool open = false;
  for (int32_t& j : f.head) {
    if (!s.work.is_logical(j) || TVN_simplex_userkey(s.work, sol, j) == sk_bas) continue;
    f.pos[j] = -1;
    j = -1;
    open = true;
  }
  if (!open) return;
  buffer<basis_exchange> exchanges(s.sys, s.work.m);
  s.info.count[kind_free].factorizations++;
  if (TVN_simplex_factor(f) == factor_result::singular)
    TVN_simplex_insertlogicals(f, exchanges);
  else
    TVN_simplex_basisfromkeys(s, sol); // no factor: the optimizer will say why
}

} // namespace tvn
