// If this finds an input: a file from somewhere brings the process of a caller down, or is not the problem it says.
//
// Build by the preset `fuzz` and run in this folder; new inputs go to FOUND:
// lp_fuzz -dict=lp.dict -max_len=4096 -timeout=10 -rss_limit_mb=2048 FOUND corpus/lp
#include "formula_input.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string fault = fuzz::try_formula(data, size, ".lp");
  if (fault.empty()) return 0;
  std::fprintf(stderr, "%s\n", fault.c_str());
  std::abort();
}
