// The OPF reader: sections between tags. Those of the problem stand here, the others in tovanropfsol.cpp.
//
// Sections come in any order and variables arise as they appear, unless the section of variables forbids it. Sections
// that nobody knows go by, however deep they are up to a limit; nothing here calls itself. A bound of "*" is that of
// all variables, those that come later too; what a later bound does not state stays.
#include "tovan/files/opf/tovanropf.h"

#include "misc/numtext.h"
#include "tovan/files/text/textwrite.h"
#include "tovan/task/fileaccess.h"
#include "tovan/task/log.h"
#include "tovan/task/param.h"
#include "tovan/task/report.h"

#include <cmath>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/tovanropf";
constexpr int32_t maxdepth = 64;

// The head of a section without attributes ends.
TVNrescodee end_head(opf_reader& f) {
  next_token(f.r.lx);
  return opf_take(f, token_kind::rbracket);
}

// ---- objective and constraints ----

TVNrescodee read_objective(opf_reader& f) {
  formula_reader& r = f.r;
  if (f.hasobjective) return syntax_error(r);
  f.hasobjective = true;
  next_token(r.lx);
  const std::string_view word = r.lx.tok.kind == token_kind::string ? r.lx.tok.text : std::string_view{};
  if (is_word(word, "min") || is_word(word, "minimize"))
    r.draft.objsense = TVN_OBJECTIVE_SENSE_MINIMIZE;
  else if (is_word(word, "max") || is_word(word, "maximize"))
    r.draft.objsense = TVN_OBJECTIVE_SENSE_MAXIMIZE;
  else if (!is_word(word, "undefined"))
    return syntax_error(r);
  next_token(r.lx);
  opf_take_name(f, r.draft.objname);
  if (const TVNrescodee bad = opf_take(f, token_kind::rbracket)) return bad;
  r.constants = true;
  const TVNrescodee bad = read_expression(r, -1);
  r.constants = false;
  return bad ? bad : opf_close(f, "objective");
}

TVNrescodee read_con(opf_reader& f) {
  formula_reader& r = f.r;
  next_token(r.lx);
  const bool named = is_name(r.lx.tok.kind);
  const int32_t i = draft_append_con(r.draft, named ? r.lx.tok.text : std::string_view{});
  if (i < 0) return name_error(r, TVN_RES_ERR_DUP_NAME, r.lx.tok.text);
  if (named) next_token(r.lx);
  if (const TVNrescodee bad = opf_take(f, token_kind::rbracket)) return bad;
  if (const TVNrescodee bad = read_row_formula(r, i, {false, false, false})) return bad;
  log_progress(r);
  return opf_close(f, "con");
}

TVNrescodee read_constraints(opf_reader& f) {
  if (const TVNrescodee bad = end_head(f)) return bad;
  return opf_each_part(f, "/constraints",
                       [&] { return is_tag(f, "con") ? read_con(f) : opf_skip(f, f.r.lx.tok.text); });
}

// ---- bounds and cones ----

// Names with commas between them, which may be missing where `commas` is false.
TVNrescodee read_names(opf_reader& f, bool commas, vec<int32_t>& list) {
  formula_reader& r = f.r;
  list.clear();
  while (is_name(r.lx.tok.kind)) {
    int32_t j = 0;
    if (const TVNrescodee bad = take_variable(r, j)) return bad;
    list.push_back(j);
    next_token(r.lx);
    const bool comma = r.lx.tok.kind == token_kind::comma;
    if (comma) next_token(r.lx);
    if (comma && !is_name(r.lx.tok.kind)) return syntax_error(r);
    if (!comma && commas) return TVN_RES_OK;
  }
  return TVN_RES_OK;
}

// The names or the star that a bound is for; an empty list is the star.
TVNrescodee read_bounded(opf_reader& f, vec<int32_t>& list) {
  list.clear();
  if (f.r.lx.tok.kind == token_kind::asterisk) return opf_take(f, token_kind::asterisk);
  if (!is_name(f.r.lx.tok.kind)) return syntax_error(f.r);
  return read_names(f, true, list);
}

// What stands behind the names: a limit, "free", or nothing when a limit stood in front.
TVNrescodee read_behind(opf_reader& f, bool front, stated_bounds& s) {
  formula_reader& r = f.r;
  if (is_relation(r.lx.tok.kind)) {
    const int32_t relation = relation_of(r.lx.tok.kind);
    double value = 0;
    next_token(r.lx);
    if (const TVNrescodee bad = read_value(r, value)) return bad;
    return s.state(relation, value) ? TVN_RES_OK : syntax_error(r);
  }
  if (front) return TVN_RES_OK;
  if (r.lx.tok.kind != token_kind::string || !is_word(r.lx.tok.text, "free")) return syntax_error(r);
  s.haslower = s.hasupper = true;
  next_token(r.lx);
  return TVN_RES_OK;
}

void take_star(opf_reader& f, const stated_bounds& s) {
  star_bounds& b = f.stars;
  b.num++;
  b.latest.equal = s.equal;
  if (s.haslower) {
    b.latest.lower = s.lower;
    b.lowerat = b.num;
  }
  if (s.hasupper) {
    b.latest.upper = s.upper;
    b.upperat = b.num;
  }
  change_bound(f.r.draft.defaults, s, true);
  f.r.draft.defaults.starred = b.num;
}

// What all variables got since this one was changed.
void catch_up(const star_bounds& b, draft_var& v) noexcept {
  if (v.starred == b.num) return;
  stated_bounds s = b.latest;
  s.haslower = b.lowerat > v.starred;
  s.hasupper = b.upperat > v.starred;
  change_bound(v, s, true);
  v.starred = b.num;
}

TVNrescodee read_bound(opf_reader& f) {
  formula_reader& r = f.r;
  if (const TVNrescodee bad = end_head(f)) return bad;
  stated_bounds s;
  const bool front = !is_name(r.lx.tok.kind) && r.lx.tok.kind != token_kind::asterisk;
  if (front) {
    double value = 0;
    if (const TVNrescodee bad = read_value(r, value)) return bad;
    if (!is_relation(r.lx.tok.kind) || !s.state(-relation_of(r.lx.tok.kind), value)) return syntax_error(r);
    next_token(r.lx);
  }
  vec<int32_t> list(*r.t.sys);
  if (const TVNrescodee bad = read_bounded(f, list)) return bad;
  if (const TVNrescodee bad = read_behind(f, front, s)) return bad;
  for (const int32_t j : list) {
    catch_up(f.stars, r.draft.var[j]);
    change_bound(r.draft.var[j], s, true);
  }
  if (list.empty()) take_star(f, s);
  return opf_close(f, "b");
}

TVNrescodee read_cone(opf_reader& f) {
  formula_reader& r = f.r;
  next_token(r.lx);
  const std::string_view word = r.lx.tok.kind == token_kind::string ? r.lx.tok.text : std::string_view{};
  const bool quad = is_word(word, "quad") || is_word(word, "quadratic");
  if (!quad && !is_word(word, "rquad") && !is_word(word, "rotatedquadratic")) return syntax_error(r);
  next_token(r.lx);
  const bool named = is_name(r.lx.tok.kind);
  if (r.draft.cones.append(named ? r.lx.tok.text : std::string_view{}) < 0)
    return name_error(r, TVN_RES_ERR_DUP_NAME, r.lx.tok.text);
  if (named) next_token(r.lx);
  r.draft.cone.push_back({quad ? TVN_CT_QUAD : TVN_CT_RQUAD, r.draft.members.size()});
  if (const TVNrescodee bad = opf_take(f, token_kind::rbracket)) return bad;
  vec<int32_t> list(*r.t.sys);
  if (const TVNrescodee bad = read_names(f, true, list)) return bad;
  r.draft.members.append(list.data(), list.size());
  return opf_close(f, "cone");
}

TVNrescodee read_bounds(opf_reader& f) {
  if (const TVNrescodee bad = end_head(f)) return bad;
  return opf_each_part(f, "/bounds", [&] {
    return is_tag(f, "b") ? read_bound(f) : is_tag(f, "cone") ? read_cone(f) : opf_skip(f, f.r.lx.tok.text);
  });
}

// ---- variables ----

TVNrescodee read_variables(opf_reader& f) {
  formula_reader& r = f.r;
  next_token(r.lx);
  const bool closes = r.lx.tok.kind == token_kind::string && is_word(r.lx.tok.text, "disallow_new_variables");
  if (closes) next_token(r.lx);
  if (const TVNrescodee bad = opf_take(f, token_kind::rbracket)) return bad;
  vec<int32_t> list(*r.t.sys);
  if (const TVNrescodee bad = read_names(f, false, list)) return bad;
  r.fixednames = r.fixednames || closes;
  return opf_close(f, "variables");
}

TVNrescodee read_integers(opf_reader& f) {
  if (const TVNrescodee bad = end_head(f)) return bad;
  vec<int32_t> list(*f.r.t.sys);
  if (const TVNrescodee bad = read_names(f, false, list)) return bad;
  for (const int32_t j : list) f.r.draft.var[j].integer = true;
  return opf_close(f, "integer");
}

TVNrescodee read_priority(opf_reader& f) {
  formula_reader& r = f.r;
  draft_priority p{0, 0, TVN_BRANCH_DIR_FREE};
  next_token(r.lx);
  if (!is_name(r.lx.tok.kind)) return syntax_error(r);
  if (const TVNrescodee bad = take_variable(r, p.j)) return bad;
  if (const TVNrescodee bad = end_head(f)) return bad;
  if (r.lx.tok.kind != token_kind::integer || r.lx.tok.value > INT32_MAX) return syntax_error(r);
  p.priority = static_cast<int32_t>(r.lx.tok.value);
  next_token(r.lx);
  if (r.lx.tok.kind == token_kind::string) {
    const std::string_view word = r.lx.tok.text;
    if (!is_word(word, "free") && !is_word(word, "up") && !is_word(word, "down")) return syntax_error(r);
    p.direction = is_word(word, "up")     ? TVN_BRANCH_DIR_UP
                  : is_word(word, "down") ? TVN_BRANCH_DIR_DOWN
                                          : TVN_BRANCH_DIR_FREE;
    next_token(r.lx);
  }
  r.draft.priorities.push_back(p);
  return opf_close(f, "var");
}

TVNrescodee read_priorities(opf_reader& f) {
  if (const TVNrescodee bad = end_head(f)) return bad;
  return opf_each_part(f, "/branchpriorities",
                       [&] { return is_tag(f, "var") ? read_priority(f) : opf_skip(f, f.r.lx.tok.text); });
}

// ---- what is not the problem ----

TVNrescodee read_hint(opf_reader& f) {
  formula_reader& r = f.r;
  next_token(r.lx);
  if (r.lx.tok.kind != token_kind::string) return syntax_error(r);
  int64_t ignored = 0;
  const std::string_view word = r.lx.tok.text;
  int64_t& hint = is_word(word, "numvar")   ? f.hints.numvar
                  : is_word(word, "numcon") ? f.hints.numcon
                  : is_word(word, "numanz") ? f.hints.numanz
                  : is_word(word, "numqnz") ? f.hints.numqnz
                                            : ignored;
  if (const TVNrescodee bad = end_head(f)) return bad;
  if (r.lx.tok.kind != token_kind::integer) return syntax_error(r);
  constexpr double most = 1e15;
  hint = static_cast<int64_t>(std::min(r.lx.tok.value, most));
  next_token(r.lx);
  return opf_close(f, "hint");
}

TVNrescodee read_hints(opf_reader& f) {
  if (const TVNrescodee bad = end_head(f)) return bad;
  return opf_each_part(f, "/hints", [&] { return is_tag(f, "hint") ? read_hint(f) : opf_skip(f, f.r.lx.tok.text); });
}

// Free text, or a name in quotes.
TVNrescodee read_problemname(opf_reader& f) {
  formula_reader& r = f.r;
  if (const TVNrescodee bad = end_head(f)) return bad;
  if (r.lx.tok.kind == token_kind::qstring) {
    r.t.taskname.assign(r.lx.tok.text);
    next_token(r.lx);
    return opf_close(f, "problemname");
  }
  r.lx.at = r.lx.start;
  r.t.taskname.assign(trim(take_until(r.lx, '[', false)));
  next_token(r.lx);
  return opf_close(f, "problemname");
}

// The next tag of a text; false when the file ends before it.
bool takes_tag(opf_reader& f, bool comments, std::string_view& tag) {
  lexer& lx = f.r.lx;
  (void)take_until(lx, '[', comments);
  const bool has = lx.at < lx.in.end;
  if (has)
    tag = take_tag(lx);
  else
    next_token(lx);
  return has;
}

// Nothing counts but the tag that ends it.
TVNrescodee read_comment(opf_reader& f) {
  std::string_view tag;
  do
    if (!takes_tag(f, false, tag)) return syntax_error(f.r);
  while (!is_word(tag, "/comment"));
  next_token(f.r.lx);
  return opf_take(f, token_kind::rbracket);
}

using section_reader = TVNrescodee (*)(opf_reader&);
struct section {
  std::string_view name;
  section_reader read;
};
constexpr section sections[] = {{"comment", read_comment},
                                {"objective", read_objective},
                                {"constraints", read_constraints},
                                {"bounds", read_bounds},
                                {"variables", read_variables},
                                {"integer", read_integers},
                                {"hints", read_hints},
                                {"problemname", read_problemname},
                                {"branchpriorities", read_priorities},
                                {"solutions", opf_read_solutions},
                                {"vendor", opf_read_vendor}};

TVNrescodee read_section(opf_reader& f) {
  if (f.r.lx.tok.kind != token_kind::string) return syntax_error(f.r);
  for (const section& s : sections)
    if (is_tag(f, s.name)) return s.read(f);
  return opf_skip(f, f.r.lx.tok.text);
}

TVNrescodee parse_file(opf_reader& f) {
  formula_reader& r = f.r;
  next_token(r.lx);
  while (r.lx.tok.kind != token_kind::end_of_file) {
    if (const TVNrescodee bad = opf_take(f, token_kind::lbracket)) return bad;
    if (const TVNrescodee bad = read_section(f)) return bad;
    if (const TVNrescodee stop = call_callbacks(r.t, TVN_CALLBACK_READ_OPF_SECTION)) return stop;
  }
  return r.stop || r.lx.in.state != sys_code::ok ? syntax_error(r) : TVN_RES_OK;
}

// Names of the sections that are open, one behind the other.
struct open_sections {
  vec<char> names;
  int32_t depth = 0;
  int64_t begin[maxdepth] = {};

  bool open(std::string_view name) {
    if (depth == maxdepth) return false;
    begin[depth++] = names.size();
    for (const char c : name) names.push_back(c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c);
    return true;
  }
  bool close(std::string_view name) noexcept {
    const int64_t from = begin[--depth];
    const bool same = is_word(name, {names.data() + from, static_cast<size_t>(names.size() - from)});
    names.resize(from);
    return same;
  }
};

} // namespace

opf_reader::opf_reader(task& t, sysfile& file) : r(t, file, opf_alphabet(), true), items(*t.sys) {}

bool is_tag(const opf_reader& f, std::string_view word) noexcept { return is_word(f.r.lx.tok.text, word); }

TVNrescodee opf_take(opf_reader& f, token_kind kind) {
  if (f.r.lx.tok.kind != kind) return syntax_error(f.r);
  next_token(f.r.lx);
  return TVN_RES_OK;
}

TVNrescodee opf_close(opf_reader& f, std::string_view word) {
  formula_reader& r = f.r;
  if (const TVNrescodee bad = opf_take(f, token_kind::lbracket)) return bad;
  const std::string_view name = r.lx.tok.kind == token_kind::string ? r.lx.tok.text : std::string_view{};
  if (name.empty() || name[0] != '/' || !is_word(name.substr(1), word)) return syntax_error(r);
  next_token(r.lx);
  return opf_take(f, token_kind::rbracket);
}

void opf_take_name(opf_reader& f, vec<char>& name) {
  if (!is_name(f.r.lx.tok.kind)) return;
  name.append(f.r.lx.tok.text.data(), static_cast<int64_t>(f.r.lx.tok.text.size()));
  next_token(f.r.lx);
}

TVNrescodee opf_skip(opf_reader& f, std::string_view name) {
  formula_reader& r = f.r;
  open_sections open{vec<char>(*r.t.sys)};
  if (name[0] == '/') return syntax_error(r); // it closes what is not open
  if (logs_files(r.t))
    echo(r.t, TVN_STREAM_LOG, "Line %lld: section '%s' is passed over.\n", static_cast<long long>(r.lx.tok.line),
         c_name(name).text);
  open.open(name);
  while (open.depth > 0) {
    std::string_view tag;
    if (!takes_tag(f, true, tag)) return syntax_error(r);
    if (tag.empty()) continue; // a bracket of the text
    if (!(tag[0] == '/' ? open.close(tag.substr(1)) : open.open(tag))) return syntax_error(r);
  }
  next_token(r.lx);
  return opf_take(f, token_kind::rbracket);
}

TVNrescodee TVN_readopf(task& t, sysfile& file, const char* name) {
  opf_reader f(t, file);
  watch_input(f.r);
  TVNrescodee code = call_callbacks(t, TVN_CALLBACK_READ_OPF);
  if (!code) code = parse_file(f);
  for (draft_var& v : f.r.draft.var) catch_up(f.stars, v);
  TVNrescodee entered = f.r.stop ? f.r.stop : commit_draft(t, f.r.draft, f.hints, f.r.lx.in.total);
  if (!code && !entered) entered = opf_put_solutions(f);
  // A damaged file is told as such, whatever its last line looked like.
  const TVNrescodee filecode = report_file(t, label, __LINE__, f.r.lx.in.state, name);
  return filecode ? filecode : code ? code : entered;
}

} // namespace tvn
