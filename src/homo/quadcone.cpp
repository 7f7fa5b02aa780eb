// See quadcone.h.
#include "homo/quadcone.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

long double rest_dot(const double* a, const double* b, int32_t num) noexcept {
  long double sum = 0;
  for (int32_t i = 1; i < num; i++) sum += static_cast<long double>(a[i]) * b[i];
  return sum;
}

double rest_dot_short(const double* a, const double* b, int32_t num) noexcept {
  double sum = 0;
  for (int32_t i = 1; i < num; i++) sum += a[i] * b[i];
  return sum;
}

// The root of det v; negative or NaN outside.
double root_det(const double* v, int32_t num) noexcept {
  const long double head = v[0], rest = std::sqrt(rest_dot(v, v, num)), least = head - rest;
  return least > 0 ? static_cast<double>(std::sqrt(least * (head + rest))) : -1;
}

} // namespace

double quadcone_least(const double* v, int32_t num) noexcept {
  return static_cast<double>(v[0] - std::sqrt(rest_dot(v, v, num)));
}

double quadcone_dot(const double* a, const double* b, int32_t num) noexcept {
  return static_cast<double>(static_cast<long double>(a[0]) * b[0] + rest_dot(a, b, num));
}

double quadcone_dets(const double* x, const double* s, int32_t num) noexcept {
  const double both = std::max(root_det(x, num), 0.0) * std::max(root_det(s, num), 0.0);
  return both * both;
}

void quadcone_product(const double* a, const double* b, int32_t num, double* to) noexcept {
  to[0] = a[0] * b[0] + rest_dot_short(a, b, num);
  for (int32_t i = 1; i < num; i++) to[i] = a[0] * b[i] + b[0] * a[i];
}

void quadcone_divide(const double* l, int32_t num, double* r) noexcept {
  const double rest = std::sqrt(rest_dot_short(l, l, num)), det = (l[0] - rest) * (l[0] + rest);
  const double head = (l[0] * r[0] - rest_dot_short(l, r, num)) / det;
  for (int32_t i = 1; i < num; i++) r[i] = (r[i] - head * l[i]) / l[0];
  r[0] = head;
}

bool quadcone_scale(const double* x, const double* s, int32_t num, double& theta, double* w, double* lambda) noexcept {
  const double rx = root_det(x, num), rs = root_det(s, num);
  if (!(rx > 0 && rs > 0 && rx < HUGE_VAL && rs < HUGE_VAL)) return false;
  const double both = std::sqrt(rx) * std::sqrt(rs), x0 = x[0] / rx, s0 = s[0] / rs;
  const long double cosine = (static_cast<long double>(x[0]) * s[0] + rest_dot(x, s, num)) / rx / rs;
  const auto gamma = static_cast<double>(std::sqrt((1 + std::max(cosine, 1.0L)) / 2));
  double rest = 0;
  for (int32_t i = 1; i < num; i++) {
    const double xi = x[i] / rx, si = s[i] / rs;
    w[i] = (si - xi) / (2 * gamma);
    rest += w[i] * w[i];
    lambda[i] = both * (((gamma + x0) * si + (gamma + s0) * xi) / (x0 + s0 + 2 * gamma));
  }
  w[0] = std::sqrt(1 + rest);
  lambda[0] = both * gamma;
  theta = std::sqrt(rs / rx);
  return theta > 0 && theta < HUGE_VAL && w[0] < HUGE_VAL && lambda[0] < HUGE_VAL;
}

void quadcone_times(double theta, const double* w, int32_t num, double* v) noexcept {
  const double along = rest_dot_short(w, v, num), head = v[0], by = head + along / (1 + w[0]);
  v[0] = theta * (w[0] * head + along);
  for (int32_t i = 1; i < num; i++) v[i] = theta * (v[i] + w[i] * by);
}

void quadcone_over(double theta, const double* w, int32_t num, double* v) noexcept {
  const double along = rest_dot_short(w, v, num), head = v[0], by = along / (1 + w[0]) - head;
  v[0] = (w[0] * head - along) / theta;
  for (int32_t i = 1; i < num; i++) v[i] = (v[i] + w[i] * by) / theta;
}

// In coordinates in which l is the root of its det times e, the decrease is an eigenvalue of d.
double quadcone_decrease(const double* l, const double* d, const double* e, double omega, int32_t num) noexcept {
  const double root = root_det(l, num);
  if (!(root > 0)) return HUGE_VAL;
  const auto at = [&](int32_t i) { return e ? d[i] + omega * e[i] : d[i]; };
  double along = 0, square = 0;
  for (int32_t i = 1; i < num; i++) along += l[i] * at(i);
  const double head = at(0), turned = (l[0] * head - along) / root, by = (turned + head) / (l[0] + root);
  for (int32_t i = 1; i < num; i++) {
    const double v = at(i) - by * l[i];
    square += v * v;
  }
  return (std::sqrt(square) - turned) / root;
}

void quadcone_back(const double* p, const double* q, double low, double high, int32_t num, double* to) noexcept {
  quadcone_product(p, q, num, to);
  const double rest = std::sqrt(rest_dot_short(to, to, num));
  const auto back = [&](double v) { return v < low ? low - v : v > high ? std::max(high - v, -high) : 0.0; };
  const double more = back(to[0] + rest), less = back(to[0] - rest);
  to[0] = (more + less) / 2;
  const double along = rest > 0 ? (more - less) / 2 / rest : 0;
  for (int32_t i = 1; i < num; i++) to[i] *= along;
}

} // namespace tvn
