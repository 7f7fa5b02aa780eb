// How far values lie outside their cones. Long double throughout: near the border of a large cone |rest| - v1 is a
// difference of numbers that agree in all digits of a double. Cost: O(members).
#include "verify/verint.h"

namespace tvn {

cone_distance TVN_verify_conedistance(const cone_view& cone, int32_t k, const double* v) {
  const int32_t* m = cone.members(k);
  const bool rotated = cone.type[k] == ct_rquad;
  long double squares = 0, head = v[m[0]];
  int32_t first = 1;
  if (rotated && cone.size(k) > 1) {
    const long double gap = static_cast<long double>(v[m[0]]) - v[m[1]];
    head = (head + v[m[1]]) / std::sqrt(2.0L);
    squares = gap * gap / 2;
    first = 2;
  }
  for (int32_t q = first; q < cone.size(k); q++) squares += static_cast<long double>(v[m[q]]) * v[m[q]];
  const long double size = std::sqrt(squares);
  double outside = 0;
  worsen(outside, static_cast<double>(size - head));
  return {outside, static_cast<double>(size)};
}

double TVN_verify_outsidecones(const cone_view& cone, const double* v) {
  double worst = 0;
  for (int32_t k = 0; k < cone.num; k++) worsen(worst, TVN_verify_conedistance(cone, k, v).outside);
  return worst;
}

double TVN_verify_besidecones(sysenv& sys, const problem_view& lp, const double* v) {
  if (!lp.cone.any()) return 0;
  buffer<char> inside(sys, lp.numvar, char{0});
  for (int32_t k = 0; k < lp.cone.num; k++)
    for (int32_t q = 0; q < lp.cone.size(k); q++) inside[lp.cone.members(k)[q]] = 1;
  double worst = 0;
  for (int32_t j = 0; j < lp.numvar; j++)
    if (!inside[j]) worsen(worst, std::fabs(v[j]));
  return worst;
}

} // namespace tvn
