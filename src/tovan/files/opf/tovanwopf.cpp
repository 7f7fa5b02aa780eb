// The OPF writer: a file that reads back to the same problem, with its names, its order and every bit.
#include "tovan/files/opf/tovanwopf.h"

#include "misc/numtext.h"
#include "tovan/files/lp/formulawrite.h"
#include "tovan/solution/sol.h"
#include "tovan/tables/version.h"
#include "tovan/task/fileaccess.h"
#include "tovan/task/log.h"
#include "tovan/task/names.h"
#include "tovan/task/param.h"
#include "tovan/task/report.h"
#include "tovan/task/symcontext.h"

#include <cmath>
#include <ctime>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/tovanwopf";

constexpr const char* status_keys[] = {"UNK", "BAS", "SUPBAS", "LOW", "UPR", "FIX", "INF"}; // by TVN_SK_*
constexpr const char* solution_names[] = {"basic", "interior", "integer"};
constexpr int32_t solution_order[] = {TVN_SOL_BAS, TVN_SOL_ITR, TVN_SOL_ITG};
constexpr const char* directions[] = {"free", "up", "down"}; // by TVN_BRANCH_DIR_*

struct opf_writer {
  formula_writer f;
  opf_options options;
  row_copy rows{};
};

void put_text_name(formula_writer& w, std::string_view text) {
  written_name name;
  name.text = text;
  name.quoted = !is_plain_name(w.letters, text);
  put_name(w, name);
}

// A word of a list, which the line takes as it takes terms.
void put_listed(formula_writer& w, int32_t j, std::string_view before) {
  if (w.maxterms > 0 && w.numterms >= w.maxterms) end_line(w);
  if (w.out.column == 0) put(w.out, " ");
  put(w.out, before);
  put_item(w, TVN_PI_VAR, j);
  w.numterms++;
}

// ---- head ----

void write_header(opf_writer& w) {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char line[120];
  end_line(w.f, "[comment]");
  std::snprintf(line, sizeof line, "   Written by TOVAN version %i.%i.%i.%i", version_major, version_minor,
                version_build, version_revision);
  end_line(w.f, line);
  std::snprintf(line, sizeof line, "   Date %02i-%02i-%02i", local.tm_mday, local.tm_mon + 1, local.tm_year % 100);
  end_line(w.f, line);
  std::snprintf(line, sizeof line, "   Time %02i:%02i:%02i", local.tm_hour, local.tm_min, local.tm_sec);
  end_line(w.f, line);
  end_line(w.f, "[/comment]\n");
}

void write_hint(opf_writer& w, const char* word, int64_t value) {
  put(w.f.out, "  [hint ");
  put(w.f.out, word);
  put(w.f.out, "] ");
  put_integer(w.f.out, value);
  end_line(w.f, " [/hint]");
}

// Terms that are written: a sum of terms may have come to nothing.
int64_t count_qterms(const problem& p) noexcept {
  const auto count = [&p](int64_t begin, int64_t end) {
    return std::count_if(p.q.val.data() + begin, p.q.val.data() + end, [](double v) { return v != 0; });
  };
  int64_t num = count(p.q.objbegin, p.q.objend);
  for (int32_t i = 0; !p.q.conbegin.empty() && i < p.numcon; i++) num += count(p.q.conbegin[i], p.q.conend[i]);
  return num;
}

void write_hints(opf_writer& w) {
  const problem& p = w.f.t.prob;
  end_line(w.f, "[hints]");
  write_hint(w, "NUMVAR", p.numvar);
  write_hint(w, "NUMCON", p.numcon);
  write_hint(w, "NUMANZ", w.rows.sub.size());
  write_hint(w, "NUMQNZ", count_qterms(p));
  end_line(w.f, "[/hints]\n");
}

// ---- the problem ----

void write_names(opf_writer& w) {
  const task& t = w.f.t;
  if (!w.f.generic && !t.taskname.empty()) {
    put(w.f.out, "[problemname]");
    put_text_name(w.f, t.taskname.view());
    end_line(w.f, "[/problemname]\n");
  }
  end_line(w.f, "[variables disallow_new_variables]");
  for (int32_t j = 0; j < t.prob.numvar && is_going(w.f.out); j++) put_listed(w.f, j, " ");
  if (t.prob.numvar > 0) end_line(w.f);
  end_line(w.f, "[/variables]\n");
}

void write_objective(opf_writer& w) {
  const task& t = w.f.t;
  const int32_t sense = t.prob.objsense;
  put(w.f.out, sense == TVN_OBJECTIVE_SENSE_MAXIMIZE   ? "[objective maximize"
               : sense == TVN_OBJECTIVE_SENSE_MINIMIZE ? "[objective minimize"
                                                       : "[objective undefined");
  const char* name = w.f.generic ? "obj" : objective_name(t);
  if (*name) {
    written_name quoted;
    quoted.text = name;
    quoted.quoted = true;
    put(w.f.out, " ");
    put_name(w.f, quoted);
  }
  end_line(w.f, "]");
  for (int32_t j = 0; j < t.prob.numvar && is_going(w.f.out); j++)
    if (t.prob.c[j] != 0) put_term(w.f, t.prob.c[j], j);
  if (t.prob.cfix != 0) put_value(w.f, t.prob.cfix < 0 ? " - " : " + ", std::fabs(t.prob.cfix));
  put_quadratic_of(w.f, -1);
  if (w.f.out.column > 0) end_line(w.f);
  end_line(w.f, "[/objective]\n");
}

void write_con(opf_writer& w, int32_t i) {
  const problem& p = w.f.t.prob;
  written_name name;
  get_written_name(w.f, TVN_PI_CON, i, name);
  put(w.f.out, "  [con");
  if (!name.text.empty()) {
    put(w.f.out, " ");
    put_name(w.f, name);
  }
  put(w.f.out, "]");
  if (p.bkc[i] == TVN_BK_LO || p.bkc[i] == TVN_BK_RA) {
    put_value(w.f, " ", p.blc[i]);
    put(w.f.out, " <=");
  }
  for (int64_t k = w.rows.begin[i]; k < w.rows.begin[i + 1] && is_going(w.f.out); k++)
    put_term(w.f, w.rows.val[k], w.rows.sub[k]);
  put_quadratic_of(w.f, i);
  if (p.bkc[i] == TVN_BK_UP || p.bkc[i] == TVN_BK_RA) put_value(w.f, " <= ", p.buc[i]);
  if (p.bkc[i] == TVN_BK_FX) put_value(w.f, " = ", p.blc[i]);
  end_line(w.f, " [/con]");
}

void write_constraints(opf_writer& w) {
  end_line(w.f, "[constraints]");
  for (int32_t i = 0; i < w.f.t.prob.numcon && is_going(w.f.out); i++) write_con(w, i);
  end_line(w.f, "[/constraints]\n");
}

void write_bound(opf_writer& w, int32_t j) {
  const problem& p = w.f.t.prob;
  const int32_t bk = p.bkx[j];
  if (bk == TVN_BK_LO && p.blx[j] == 0 && !std::signbit(p.blx[j])) return;
  put(w.f.out, "  [b]");
  if (bk == TVN_BK_LO || bk == TVN_BK_RA) {
    put_value(w.f, " ", p.blx[j]);
    put(w.f.out, " <=");
  } else if (bk == TVN_BK_UP) {
    put(w.f.out, " -inf <=");
  }
  put(w.f.out, " ");
  put_item(w.f, TVN_PI_VAR, j);
  if (bk == TVN_BK_FR) put(w.f.out, " free");
  if (bk == TVN_BK_FX) put_value(w.f, " = ", p.blx[j]);
  if (bk == TVN_BK_UP || bk == TVN_BK_RA) put_value(w.f, " <= ", p.bux[j]);
  end_line(w.f, " [/b]");
}

void write_cone(opf_writer& w, int32_t k) {
  const cones& c = w.f.t.prob.cone;
  put(w.f.out, c.type[k] == TVN_CT_QUAD ? "  [cone quad " : "  [cone rquad ");
  put_item(w.f, TVN_PI_CONE, k);
  put(w.f.out, "]");
  for (int32_t q = c.begin[k]; q < c.end[k] && is_going(w.f.out); q++) {
    if (q > c.begin[k]) put(w.f.out, ",");
    put_listed(w.f, c.members[q], " ");
  }
  end_line(w.f, " [/cone]");
}

void write_bounds(opf_writer& w) {
  const problem& p = w.f.t.prob;
  end_line(w.f, "[bounds]\n  [b] 0 <= * [/b]");
  for (int32_t j = 0; j < p.numvar && is_going(w.f.out); j++) write_bound(w, j);
  for (int32_t k = 0; k < p.numcone && is_going(w.f.out); k++) write_cone(w, k);
  end_line(w.f, "[/bounds]\n");
}

void write_integers(opf_writer& w) {
  const problem& p = w.f.t.prob;
  if (p.vartype.empty() || count_integers(p) == 0) return;
  end_line(w.f, "[integer]");
  for (int32_t j = 0; j < p.numvar && is_going(w.f.out); j++)
    if (p.vartype[j] == TVN_VAR_TYPE_INT) put_listed(w.f, j, " ");
  end_line(w.f, "\n[/integer]\n");
}

void write_priorities(opf_writer& w) {
  const problem& p = w.f.t.prob;
  bool opened = false;
  for (int32_t j = 0; !p.branchpri.empty() && j < p.numvar && is_going(w.f.out); j++) {
    if (p.branchpri[j] == 0 && p.branchdir[j] == TVN_BRANCH_DIR_FREE) continue;
    if (!std::exchange(opened, true)) end_line(w.f, "[branchpriorities]");
    put(w.f.out, "  [var ");
    put_item(w.f, TVN_PI_VAR, j);
    put(w.f.out, "] ");
    put_integer(w.f.out, p.branchpri[j]);
    put(w.f.out, " ");
    put(w.f.out, directions[p.branchdir[j]]);
    end_line(w.f, " [/var]");
  }
  if (opened) end_line(w.f, "[/branchpriorities]\n");
}

// ---- parameters and solutions ----

void open_parameter(opf_writer& w, std::string_view name) {
  put(w.f.out, "    [p ");
  put(w.f.out, name);
  put(w.f.out, "] ");
}

// Infinity as a number that every reader takes for infinite.
void put_real(opf_writer& w, double value) {
  if (std::isinf(value)) return put(w.f.out, value > 0 ? "1e+999" : "-1e+999");
  put_number(w.f.out, value);
}

void write_parameters(opf_writer& w) {
  const task& t = w.f.t;
  const param_tables& tables = t.env->params;
  char word[TVN_MAX_STR_LEN];
  end_line(w.f, "[vendor tovan]\n  [parameters]\n    #\n    # INTEGER parameters\n    #");
  for (size_t k = 0; k < tables.iname.size(); k++) {
    open_parameter(w, tables.iname[k].data());
    word[0] = '\0';
    (void)TVN_iparvaltosymnam(t.env, static_cast<int32_t>(k), t.params.ival[k], word);
    if (*word)
      put(w.f.out, word);
    else
      put_integer(w.f.out, t.params.ival[k]);
    end_line(w.f, " [/p]");
  }
  end_line(w.f, "    #\n    # DOUBLE parameters\n    #");
  for (size_t k = 0; k < tables.dname.size(); k++) {
    open_parameter(w, tables.dname[k].data());
    put_real(w, t.params.dval[k]);
    end_line(w.f, " [/p]");
  }
  end_line(w.f, "    #\n    # STRING parameters\n    #");
  for (size_t k = 0; k < tables.sname.size(); k++) {
    open_parameter(w, tables.sname[k].data());
    written_name value;
    value.text = t.params.sval[k].view();
    value.quoted = true;
    put_name(w.f, value);
    end_line(w.f, " [/p]");
  }
  end_line(w.f, "  [/parameters]\n[/vendor]\n");
}

void put_key(opf_writer& w, const char* key, double value) {
  put(w.f.out, key);
  if (std::isnan(value)) return put(w.f.out, "nan");
  put_real(w, value);
}

void write_solution_vars(opf_writer& w, int32_t whichsol, const sol_ptrs& s) {
  for (int32_t j = 0; j < w.f.t.prob.numvar && is_going(w.f.out); j++) {
    put(w.f.out, "    [var ");
    put_item(w.f, TVN_PI_VAR, j);
    put(w.f.out, "] sk=");
    put(w.f.out, status_keys[s.skx[j]]);
    put_key(w, " lvl=", s.xx[j]);
    if (whichsol != TVN_SOL_ITG) {
      put_key(w, " sl=", s.slx[j]);
      put_key(w, " su=", s.sux[j]);
      if (s.snx && (w.f.t.prob.numcone > 0 || s.snx[j] != 0)) put_key(w, " sn=", s.snx[j]);
    }
    end_line(w.f, " [/var]");
  }
}

void write_solution_cons(opf_writer& w, int32_t whichsol, const sol_ptrs& s) {
  for (int32_t i = 0; i < w.f.t.prob.numcon && is_going(w.f.out); i++) {
    written_name name;
    get_written_name(w.f, TVN_PI_CON, i, name);
    put(w.f.out, name.text.empty() ? "    [con" : "    [con ");
    put_name(w.f, name.text.empty() ? written_name{} : name);
    put(w.f.out, "] sk=");
    put(w.f.out, status_keys[s.skc[i]]);
    put_key(w, " lvl=", s.xc[i]);
    if (whichsol != TVN_SOL_ITG) {
      put_key(w, " y=", s.y[i]);
      put_key(w, " sl=", s.slc[i]);
      put_key(w, " su=", s.suc[i]);
    }
    end_line(w.f, " [/con]");
  }
}

void write_solutions(opf_writer& w) {
  task& t = w.f.t;
  end_line(w.f, "[solutions]");
  for (size_t k = 0; k < 3; k++) {
    const int32_t whichsol = solution_order[k];
    if (!w.options.solution[whichsol] || !TVN_solutiondef(t, whichsol)) continue;
    const sol_ptrs s = TVN_getsolptrs(t, whichsol);
    const char* status = solution_status_word(t.sols.solsta[static_cast<size_t>(whichsol)]);
    put(w.f.out, "  [solution ");
    put(w.f.out, solution_names[k]);
    put(w.f.out, " status=");
    put(w.f.out, status ? status : "UNKNOWN");
    end_line(w.f, "]\n    # Variable solution");
    write_solution_vars(w, whichsol, s);
    end_line(w.f, "    # Constraint solution");
    write_solution_cons(w, whichsol, s);
    end_line(w.f, "  [/solution]");
  }
  end_line(w.f, "[/solutions]");
}

} // namespace

opf_options opf_options_of(const task& t) noexcept {
  const auto on = [&t](int32_t param) { return TVNP_getintparam(t, param) != 0; };
  opf_options o{};
  o.hints = on(TVN_IPAR_OPF_WRITE_HINTS);
  o.parameters = on(TVN_IPAR_OPF_WRITE_PARAMETERS);
  o.header = on(TVN_IPAR_OPF_WRITE_HEADER);
  o.problem = on(TVN_IPAR_OPF_WRITE_PROBLEM);
  o.solutions = on(TVN_IPAR_OPF_WRITE_SOLUTIONS);
  o.solution[TVN_SOL_BAS] = on(TVN_IPAR_OPF_WRITE_SOL_BAS);
  o.solution[TVN_SOL_ITR] = on(TVN_IPAR_OPF_WRITE_SOL_ITR);
  o.solution[TVN_SOL_ITG] = on(TVN_IPAR_OPF_WRITE_SOL_ITG);
  o.maxterms = TVNP_getintparam(t, TVN_IPAR_OPF_MAX_TERMS_PER_LINE);
  return o;
}

TVNrescodee check_opf_problem(task& t) {
  if (has_nlfunc(t)) return report(t, label, __LINE__, TVN_RES_ERR_CANNOT_HANDLE_NL);
  return check_costs(t);
}

TVNrescodee TVN_writeopf(task& t, bool generic, const opf_options& options, sysfile& file, const char* filename) {
  opf_writer w{formula_writer(t, file, TVN_CALLBACK_WRITE_OPF, opf_alphabet(), generic), options};
  w.f.maxterms = options.maxterms;
  if (!copy_rows(w.f, w.rows)) return w.f.out.code;
  if (options.header) write_header(w);
  if (options.hints) write_hints(w);
  if (options.problem)
    for (void (*section)(opf_writer&) :
         {write_names, write_objective, write_constraints, write_bounds, write_integers, write_priorities})
      if (is_going(w.f.out)) section(w);
  if (options.parameters) write_parameters(w);
  if (options.solutions) write_solutions(w);
  flush(w.f.out);
  return w.f.out.code ? w.f.out.code : report_file(t, label, __LINE__, w.f.out.state, filename);
}

} // namespace tvn
