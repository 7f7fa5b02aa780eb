// Prints the constants of the public header from the tables of src/tovan/def.
//
//   headergen               the region to standard output
//   headergen --check FILE  0 when the region of FILE is the same
//   headergen --write FILE  puts the region into FILE
//
// A table changes first, then the header is written again; nobody types a constant twice. Not part of the library.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

namespace {

const std::string begin_mark = "/* begin: from the tables */\n";
const std::string end_mark = "/* end: from the tables */\n";

void define(std::string& out, const char* prefix, const char* name, int value, const std::string& note = "") {
  char line[512];
  std::snprintf(line, sizeof line, "#define %s%s %d", prefix, name, value);
  out += line;
  if (!note.empty()) out += " /* " + note + " */";
  out += '\n';
}

// A define whose comment is too long for its line is broken at blanks.
void define_told(std::string& out, const char* prefix, const char* name, int value, const std::string& note) {
  constexpr size_t width = 118;
  std::string line = std::string("#define ") + prefix + name + ' ' + std::to_string(value) + " /*";
  std::istringstream words(note + " */");
  for (std::string word; words >> word; line += ' ' + word)
    if (line.size() + 1 + word.size() > width) {
      out += line + '\n';
      line = "   ";
    }
  out += line + '\n';
}

// What a parameter does, by its class and name.
std::string sentence(const std::string& param) {
#define TVN_PARAM_NOTE(type, name, text)                                                                               \
  if (param == #type "_" #name) return text;
#include "tovan/def/paramnotes.def"
#undef TVN_PARAM_NOTE
  return "No effect yet.";
}

void title(std::string& out, const char* text) { out += std::string("\n/* ") + text + " */\n"; }

// "default 4, >= 0", the values as they stand in the table.
std::string rule(const char* dflt, int kind, const char* min, const char* max) {
  std::string note = std::string("default ") + dflt;
  if (kind == 0) note += std::string(", >= ") + min;
  if (kind == 1) note += std::string(", <= ") + max;
  if (kind == 2 || kind == 4) note += std::string(", ") + min + " to " + max;
  return note;
}

void symbolic(std::string& out) {
  std::string family;
  const auto add = [&](const char* fam, const char* prefix, const char* symbol, int value) {
    if (family != fam) {
      family = fam;
      std::string words = family;
      for (char& ch : words)
        if (ch == '_') ch = ' ';
      title(out, words.c_str());
    }
    define(out, prefix, symbol, value);
  };
#define TVN_CON(family, prefix, symbol, value) add(#family, #prefix, #symbol, value);
#include "tovan/def/symcon.def"
#undef TVN_CON
}

void parameters(std::string& out) {
  int k = 0;
  title(out, "integer parameters");
#define TVN_IPARAM(name, dflt, kind, min, max, family)                                                                 \
  define_told(out, "TVN_IPAR_", #name, k++, rule(#dflt, kind, #min, #max) + ". " + sentence("IPAR_" #name));
#include "tovan/def/iparam.def"
#undef TVN_IPARAM
  k = 0;
  title(out, "double parameters");
#define TVN_DPARAM(name, dflt, kind, min, max)                                                                         \
  define_told(out, "TVN_DPAR_", #name, k++, rule(#dflt, kind, #min, #max) + ". " + sentence("DPAR_" #name));
#include "tovan/def/dparam.def"
#undef TVN_DPARAM
  k = 0;
  title(out, "string parameters");
#define TVN_SPARAM(name, dflt)                                                                                         \
  define_told(out, "TVN_SPAR_", #name, k++, (#dflt[2] == '\0' ? "" : "default " #dflt ". ") + sentence("SPAR_" #name));
#include "tovan/def/sparam.def"
#undef TVN_SPARAM
}

void items(std::string& out) {
  int k = 0;
  title(out, "double information items");
#define TVN_DINF_ITEM(name) define(out, "TVN_DINF_", #name, k++);
#include "tovan/def/dinf.def"
#undef TVN_DINF_ITEM
  k = 0;
  title(out, "integer information items");
#define TVN_IINF_ITEM(name) define(out, "TVN_IINF_", #name, k++);
#include "tovan/def/iinf.def"
#undef TVN_IINF_ITEM
  k = 0;
  title(out, "long integer information items");
#define TVN_LIINF_ITEM(name) define(out, "TVN_LIINF_", #name, k++);
#include "tovan/def/liinf.def"
#undef TVN_LIINF_ITEM
}

void codes(std::string& out) {
  title(out, "response codes");
  define(out, "TVN_RES_", "OK", 0);
#define TVN_RESCODE(name, value, text, description) define(out, "TVN_RES_", #name, value);
#include "tovan/def/rescode.def"
#undef TVN_RESCODE
  title(out, "codes of the progress callback");
#define TVN_CALLBACK_CODE(name, value) define(out, "TVN_CALLBACK_", #name, value);
#include "tovan/def/callback.def"
#undef TVN_CALLBACK_CODE
}

std::string read_file(const char* name) {
  std::ifstream in(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace

int main(int argc, char** argv) {
  std::string region;
  symbolic(region);
  parameters(region);
  items(region);
  codes(region);
  region += '\n';
  if (argc < 3) {
    std::fputs(region.c_str(), stdout);
    return 0;
  }
  std::string file = read_file(argv[2]);
  const size_t begin = file.find(begin_mark), end = file.find(end_mark);
  if (begin == std::string::npos || end == std::string::npos) {
    std::fprintf(stderr, "%s has no marks\n", argv[2]);
    return 2;
  }
  const size_t from = begin + begin_mark.size();
  const bool same = file.compare(from, end - from, region) == 0;
  if (std::strcmp(argv[1], "--check") == 0) {
    if (!same)
      std::fprintf(stderr, "The constants in %s are not those of the tables: run headergen --write\n", argv[2]);
    return same ? 0 : 1;
  }
  if (same) return 0;
  file.replace(from, end - from, region);
  std::ofstream(argv[2], std::ios::binary) << file;
  return 0;
}
