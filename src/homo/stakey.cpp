// Guesses of status keys for the step to a basis.
//
// A variable that grows relative to its dual is taken for basic (Tapia's indicators; El-Bakry, Tapia and Zhang 1994):
// of a pair that goes to 0 the one member shrinks like mu and the other one stays.
#include "homo/homint.h"

namespace tvn {

namespace {

// v / s after the step against before.
bool grows(double v, double dv, double s, double ds) noexcept { return (v + dv) * s > (s + ds) * v; }

} // namespace

void hom_setstakey(const hom_data& d, const hom_point& p, const hom_point& dir, hom_steps a, int32_t* key) noexcept {
  for (int32_t j = 0; j < d.n; j++) {
    int32_t& k = key[d.order[j]];
    if (j >= d.npos) { // free, or in a cone
      k = sk_supbas;
      continue;
    }
    k = grows(p.x[j], a.p * dir.x[j], p.s[j], a.d * dir.s[j]) ? sk_bas : sk_low;
    const int32_t up = j - d.up0();
    if (up >= 0 && k == sk_bas && !grows(p.xup[up], a.p * dir.xup[up], p.sup[up], a.d * dir.sup[up])) k = sk_upr;
  }
}

} // namespace tvn
