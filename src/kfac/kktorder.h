// Which matrix is factored, and in which order.
//
// Long columns of A make large cliques in A A'. Sets of the longest ones, cut where lengths fall, and the big system
// are ordered by minimum fill and compared by predicted seconds; the rest of the order method's effort goes to the
// winner. Bounds by lengths alone come first: a pattern that would exceed the cap is never formed. Cost: an order for
// each set tried; none but the last where no column is long.
#pragma once

#include "kfac/kktfac.h"

namespace tvn {

struct kkt_plan {
  kkt_form form = kkt_form::adat;
  buffer<int8_t> apart; // [numcol] adat: nonzero: kept beside the factor
  int32_t numapart = 0;
  int32_t numempty = 0; // adat: rows that only such columns meet
  double numprod = 0;   // products of the forming
  double seconds = 0;   // predicted of a factorisation with its solves
  kkt_pattern pattern;
  buffer<int32_t> perm; // position to node
  sorder_figures figures;
  bool partitioned = false;
  bool final = false; // the order is that of the method wanted
  int32_t numtries = 0;
};

// noneapart: no column may be. failed: nothing keeps below filltrh.
[[nodiscard]] sfk_code TVN_kktfac_order(sysenv& sys, const kkt_columns& a, const kkt_quadratic& q,
                                        const kktfac_params& params, bool noneapart, kkt_plan& plan);

// Columns of the Schur part that a plan needs room for: its own and repaired pivots.
int32_t TVN_kktfac_schurspc(const kkt_plan& plan, int32_t numrow) noexcept;

} // namespace tvn
