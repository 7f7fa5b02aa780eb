// One line at the head of a run that names the parameters which somebody has set and which have no effect yet, so that
// nobody takes a setting for served. A parameter has an effect when def/paramnotes.def has a sentence for it.
// Cost: O(parameters) a run.
#include "tovan/task/log.h"
#include "tovan/optimize/optimize.h"

#include <bitset>

namespace tvn {

namespace {

constexpr int32_t maxnames = 12; // in the line; the rest is counted

struct effects {
  std::bitset<num_iparam> ipar;
  std::bitset<num_dparam> dpar;
  std::bitset<num_sparam> spar;
};

effects known_effects() {
  effects e;
  const auto ipar = [&](size_t k) { e.ipar.set(k); };
  const auto dpar = [&](size_t k) { e.dpar.set(k); };
  const auto spar = [&](size_t k) { e.spar.set(k); };
#define TVN_PARAM_NOTE(type, name, text) note_##type(TVN_##type##_##name);
#define note_IPAR ipar
#define note_DPAR dpar
#define note_SPAR spar
#include "tovan/def/paramnotes.def"
#undef note_SPAR
#undef note_DPAR
#undef note_IPAR
#undef TVN_PARAM_NOTE
  return e;
}

struct name_line {
  std::array<char, 1024> text{};
  size_t size = 0;
  int32_t count = 0;

  void add(const param_name& name) noexcept {
    if (++count > maxnames) return;
    const int n = std::snprintf(text.data() + size, text.size() - size, "%s%s", count > 1 ? ", " : "", name.data());
    size = std::min(size + static_cast<size_t>(n), text.size() - 1);
  }
};

} // namespace

void tell_ineffective_parameters(task& t) noexcept {
  const effects e = known_effects();
  const param_tables& d = t.env->params;
  name_line line;
  for (size_t k = 0; k < num_iparam; k++)
    if (!e.ipar[k] && t.params.ival[k] != d.idef[k]) line.add(d.iname[k]);
  for (size_t k = 0; k < num_dparam; k++)
    if (!e.dpar[k] && t.params.dval[k] != d.ddef[k]) line.add(d.dname[k]);
  for (size_t k = 0; k < num_sparam; k++)
    if (!e.spar[k] && t.params.sval[k].view() != d.sdef[k].view()) line.add(d.sname[k]);
  if (line.count > maxnames)
    echo(t, TVN_STREAM_MSG, "Parameters set that have no effect: %s and %d more.\n", line.text.data(),
         line.count - maxnames);
  else if (line.count > 0)
    echo(t, TVN_STREAM_MSG, "Parameters set that have no effect: %s.\n", line.text.data());
}

} // namespace tvn
