// The texts of the fixed messages, each in English and Danish. See msg.h.
//
// Texts are formats of misc/outfmt.h; both languages take the same arguments, and a test compares their conversions.
// Events with one fixed line stand in a table: their text, the log parameter that gates it, and the item with the time
// that it tells. Lines that show more than a time (iterations, sizes) belong to the optimizers.
#include "tovan/task/msg.h"

#include "tovan/task/log.h"
#include "tovan/task/param.h"
#include "tovan/task/streams.h"
#include "tovan/task/symcontext.h"

namespace tvn {

namespace {

constexpr int32_t left = 0, wide = 12, hundredths = 2; // the settings j, w and p of the formats
constexpr int32_t no_time = -1;

template <class... Args> void print(task& t, const char* fmtstr_eng, const char* fmtstr_dan, Args... args) noexcept {
  TVN_outfmttask(t, TVN_STREAM_MSG, TVN_getlang(*t.env) == TVN_LANG_DAN ? fmtstr_dan : fmtstr_eng, args...);
}

struct event_line {
  int32_t code;     // TVN_CALLBACK_*
  int32_t logparam; // TVN_IPAR_LOG_*
  int32_t time;     // TVN_DINF_* for %{jwp}f in the texts, or no_time
  const char* fmtstr_eng;
  const char* fmtstr_dan;
};

constexpr event_line event_lines[] = {
    {TVN_CALLBACK_BEGIN_PRESOLVE, TVN_IPAR_LOG_PRESOLVE, no_time, "Presolve started.\n", "Presolve startet.\n"},
    {TVN_CALLBACK_END_PRESOLVE, TVN_IPAR_LOG_PRESOLVE, TVN_DINF_PRESOLVE_TIME, "Presolve terminated. Time: %{jwp}f\n",
     "Presolve afsluttet. Tid: %{jwp}f\n"},

    {TVN_CALLBACK_BEGIN_QCQO_REFORMULATE, TVN_IPAR_LOG_OPTIMIZER, no_time, "QCQO reformulation started.\n",
     "QCQO-reformulering startet.\n"},
    {TVN_CALLBACK_END_QCQO_REFORMULATE, TVN_IPAR_LOG_OPTIMIZER, TVN_DINF_QCQO_REFORMULATE_TIME,
     "QCQO reformulation terminated. Time: %{jwp}f.\n", "QCQO-reformulering afsluttet. Tid: %{jwp}f.\n"},
    {TVN_CALLBACK_BEGIN_FULL_CONVEXITY_CHECK, TVN_IPAR_LOG_CHECK_CONVEXITY, no_time, "Convexity check started.\n",
     "Konveksitetskontrol startet.\n"},
    {TVN_CALLBACK_END_FULL_CONVEXITY_CHECK, TVN_IPAR_LOG_CHECK_CONVEXITY, no_time, "Convexity check terminated.\n",
     "Konveksitetskontrol afsluttet.\n"},

    {TVN_CALLBACK_BEGIN_SIMPLEX, TVN_IPAR_LOG_SIM, no_time, "Simplex optimizer started.\n",
     "Simpleksoptimering startet.\n"},
    {TVN_CALLBACK_BEGIN_PRIMAL_SIMPLEX, TVN_IPAR_LOG_SIM, no_time, "Primal simplex optimizer started.\n",
     "Primal simpleksoptimering startet.\n"},
    {TVN_CALLBACK_END_PRIMAL_SIMPLEX, TVN_IPAR_LOG_SIM, no_time, "Primal simplex optimizer terminated.\n",
     "Primal simpleksoptimering afsluttet.\n"},
    {TVN_CALLBACK_BEGIN_DUAL_SIMPLEX, TVN_IPAR_LOG_SIM, no_time, "Dual simplex optimizer started.\n",
     "Dual simpleksoptimering startet.\n"},
    {TVN_CALLBACK_END_DUAL_SIMPLEX, TVN_IPAR_LOG_SIM, no_time, "Dual simplex optimizer terminated.\n",
     "Dual simpleksoptimering afsluttet.\n"},
    {TVN_CALLBACK_BEGIN_PRIMAL_DUAL_SIMPLEX, TVN_IPAR_LOG_SIM, no_time, "Primal-dual simplex optimizer started.\n",
     "Primal-dual simpleksoptimering startet.\n"},
    {TVN_CALLBACK_END_PRIMAL_DUAL_SIMPLEX, TVN_IPAR_LOG_SIM, no_time, "Primal-dual simplex optimizer terminated.\n",
     "Primal-dual simpleksoptimering afsluttet.\n"},

    {TVN_CALLBACK_BEGIN_SIMPLEX_NETWORK_DETECT, TVN_IPAR_LOG_SIM, no_time, "Simplex network detection is started.\n",
     "Simpleksnetværkssøgning er startet.\n"},
    {TVN_CALLBACK_END_SIMPLEX_NETWORK_DETECT, TVN_IPAR_LOG_SIM, no_time, "Simplex network detection is terminated.\n",
     "Simpleksnetværkssøgning er afsluttet.\n"},
    {TVN_CALLBACK_BEGIN_NETWORK_SIMPLEX, TVN_IPAR_LOG_SIM, no_time, "Simplex network optimizer started.\n",
     "Simpleksnetværksoptimering startet.\n"},
    {TVN_CALLBACK_END_NETWORK_SIMPLEX, TVN_IPAR_LOG_SIM, no_time, "Simplex network optimizer terminated.\n",
     "Simpleksnetværksoptimering afsluttet.\n"},
    {TVN_CALLBACK_BEGIN_NETWORK_PRIMAL_SIMPLEX, TVN_IPAR_LOG_SIM, no_time,
     "Primal simplex network optimizer started.\n", "Primal simpleksnetværksoptimering startet.\n"},
    {TVN_CALLBACK_END_NETWORK_PRIMAL_SIMPLEX, TVN_IPAR_LOG_SIM, no_time,
     "Primal simplex network optimizer terminated.\n", "Primal simpleksnetværksoptimering afsluttet.\n"},
    {TVN_CALLBACK_END_NETWORK_DUAL_SIMPLEX, TVN_IPAR_LOG_SIM, no_time, "Dual simplex network optimizer terminated.\n",
     "Dual simpleksnetværksoptimering afsluttet.\n"},

    {TVN_CALLBACK_BEGIN_BI, TVN_IPAR_LOG_BI, no_time, "Basis identification started.\n",
     "Basisidentifikation startet.\n"},
    {TVN_CALLBACK_END_BI, TVN_IPAR_LOG_BI, TVN_DINF_BI_TIME, "Basis identification terminated. Time: %{jwp}f\n",
     "Basisidentifikation afsluttet. Tid: %{jwp}f\n"},
    {TVN_CALLBACK_BEGIN_PRIMAL_BI, TVN_IPAR_LOG_BI, no_time, "Primal basis identification phase started.\n",
     "Primal basisidentifikationsfase startet.\n"},
    {TVN_CALLBACK_END_PRIMAL_BI, TVN_IPAR_LOG_BI, TVN_DINF_BI_PRIMAL_TIME,
     "Primal basis identification phase terminated. Time: %{jwp}f\n",
     "Primal basisidentifikationsfase afsluttet. Tid: %{jwp}f\n"},
    {TVN_CALLBACK_BEGIN_DUAL_BI, TVN_IPAR_LOG_BI, no_time, "Dual basis identification phase started.\n",
     "Dual basisidentifikationsfase startet.\n"},
    {TVN_CALLBACK_END_DUAL_BI, TVN_IPAR_LOG_BI, TVN_DINF_BI_DUAL_TIME,
     "Dual basis identification phase terminated. Time: %{jwp}f\n",
     "Dual basisidentifikationsfase afsluttet. Tid: %{jwp}f\n"},
    {TVN_CALLBACK_BEGIN_PRIMAL_SIMPLEX_BI, TVN_IPAR_LOG_BI, no_time, "Primal simplex reoptimization started.\n",
     "Primal simpleksreoptimering startet.\n"},
    {TVN_CALLBACK_END_PRIMAL_SIMPLEX_BI, TVN_IPAR_LOG_BI, TVN_DINF_BI_CLEAN_PRIMAL_TIME,
     "Primal simplex reoptimization terminated. Time: %{jwp}f\n",
     "Primal simpleksreoptimering afsluttet. Tid: %{jwp}f\n"},
    {TVN_CALLBACK_BEGIN_DUAL_SIMPLEX_BI, TVN_IPAR_LOG_BI, no_time, "Dual simplex reoptimization started.\n",
     "Dual simpleksreoptimering startet.\n"},
    {TVN_CALLBACK_END_DUAL_SIMPLEX_BI, TVN_IPAR_LOG_BI, TVN_DINF_BI_CLEAN_DUAL_TIME,
     "Dual simplex reoptimization terminated. Time: %{jwp}f\n", "Dual simpleksreoptimering afsluttet. Tid: %{jwp}f\n"},

    {TVN_CALLBACK_BEGIN_PRIMAL_SENSITIVITY, TVN_IPAR_LOG_SENSITIVITY, no_time, "Primal sensitivity analysis started.\n",
     "Primal følsomhedsanalyse startet.\n"},
    {TVN_CALLBACK_END_PRIMAL_SENSITIVITY, TVN_IPAR_LOG_SENSITIVITY, no_time,
     "Primal sensitivity analysis terminated.\n", "Primal følsomhedsanalyse afsluttet.\n"},
    {TVN_CALLBACK_BEGIN_DUAL_SENSITIVITY, TVN_IPAR_LOG_SENSITIVITY, no_time, "Dual sensitivity analysis started.\n",
     "Dual følsomhedsanalyse startet.\n"},
    {TVN_CALLBACK_END_DUAL_SENSITIVITY, TVN_IPAR_LOG_SENSITIVITY, no_time, "Dual sensitivity analysis terminated.\n",
     "Dual følsomhedsanalyse afsluttet.\n"},
    {TVN_CALLBACK_BEGIN_INFEAS_ANA, TVN_IPAR_LOG_INFEAS_ANA, no_time, "Infeasibility analysis started.\n",
     "Analyse af uløselighed startet.\n"},
    {TVN_CALLBACK_END_INFEAS_ANA, TVN_IPAR_LOG_INFEAS_ANA, no_time, "Infeasibility analysis terminated.\n",
     "Analyse af uløselighed afsluttet.\n"},
};

// Rows of the optimizer summary.
struct summary_row {
  const char* fmtstr_eng;
  const char* fmtstr_dan;
};

void print_times(task& t, const summary_row& row, double seconds) noexcept {
  print(t, row.fmtstr_eng, row.fmtstr_dan, left, wide, "", left, 0, hundredths, seconds);
}

void print_work(task& t, const summary_row& row, int64_t iterations, double seconds) noexcept {
  print(t, row.fmtstr_eng, row.fmtstr_dan, left, wide, iterations, left, 0, hundredths, seconds);
}

constexpr summary_row row_optimizer{"  Optimizer                 -              %{jw}s  time: %{jwp}f\n",
                                    "  Optimizer                 -               %{jw}s  tid: %{jwp}f\n"};
constexpr summary_row row_interior{"    Interior-point          - iterations : %{jw}l  time: %{jwp}f\n",
                                   "    Indre punkt             - iterationer : %{jw}l  tid: %{jwp}f\n"};
constexpr summary_row row_bi{"      Basis identification  -              %{jw}s  time: %{jwp}f\n",
                             "      Basisidentifikation   -               %{jw}s  tid: %{jwp}f\n"};
constexpr summary_row row_bi_primal{"        Primal              - iterations : %{jw}l  time: %{jwp}f\n",
                                    "        Primal              - iterationer : %{jw}l  tid: %{jwp}f\n"};
constexpr summary_row row_bi_dual{"        Dual                - iterations : %{jw}l  time: %{jwp}f\n",
                                  "        Dual                - iterationer : %{jw}l  tid: %{jwp}f\n"};
constexpr summary_row row_clean_primal{"        Clean primal        - iterations : %{jw}l  time: %{jwp}f\n",
                                       "        Primal oprydning    - iterationer : %{jw}l  tid: %{jwp}f\n"};
constexpr summary_row row_clean_dual{"        Clean dual          - iterations : %{jw}l  time: %{jwp}f\n",
                                     "        Dual oprydning      - iterationer : %{jw}l  tid: %{jwp}f\n"};
constexpr summary_row row_simplex{"    Simplex                 -              %{jw}s  time: %{jwp}f\n",
                                  "    Simpleks                -               %{jw}s  tid: %{jwp}f\n"};
constexpr summary_row row_primal{"      Primal simplex        - iterations : %{jw}l  time: %{jwp}f\n",
                                 "      Primal simpleks       - iterationer : %{jw}l  tid: %{jwp}f\n"};
constexpr summary_row row_dual{"      Dual simplex          - iterations : %{jw}l  time: %{jwp}f\n",
                               "      Dual simpleks         - iterationer : %{jw}l  tid: %{jwp}f\n"};
constexpr summary_row row_primal_dual{"      Primal-dual simplex   - iterations : %{jw}l  time: %{jwp}f\n",
                                      "      Primal-dual simpleks  - iterationer : %{jw}l  tid: %{jwp}f\n"};

constexpr int32_t shown_racers = 5;

} // namespace

void TVN_msg_logoptimizerstarted(task& t) noexcept {
  if (is_logged(t, TVN_IPAR_LOG_OPTIMIZER)) print(t, "Optimizer started.\n", "Optimering startet.\n");
}

void TVN_msg_logoptimizerterminated(task& t) noexcept {
  if (!is_logged(t, TVN_IPAR_LOG_OPTIMIZER)) return;
  print(t, "Optimizer terminated. Time: %{jwp}f\n", "Optimering afsluttet. Tid: %{jwp}f\n", left, 0, hundredths,
        TVNP_getdouinf(t, TVN_DINF_OPTIMIZER_TIME));
}

void TVN_msg_logccoptimizerstarted(task& t) noexcept {
  if (is_logged(t, TVN_IPAR_LOG_OPTIMIZER))
    print(t, "Concurrent optimizer started.\n", "Parallel optimering startet.\n");
}

void TVN_msg_logccoptimizerterminated(task& t) noexcept {
  if (!is_logged(t, TVN_IPAR_LOG_OPTIMIZER)) return;
  print(t, "Concurrent optimizer terminated. Time: %{jwp}f\n", "Parallel optimering afsluttet. Tid: %{jwp}f\n", left, 0,
        hundredths, TVNP_getdouinf(t, TVN_DINF_CONCURRENT_TIME));
}

void TVN_msg_event(task& t, int32_t code) noexcept {
  for (const event_line& line : event_lines) {
    if (line.code != code || !is_logged(t, line.logparam)) continue;
    if (line.time == no_time)
      print(t, line.fmtstr_eng, line.fmtstr_dan);
    else
      print(t, line.fmtstr_eng, line.fmtstr_dan, left, 0, hundredths, TVNP_getdouinf(t, line.time));
  }
}

void TVN_msg_optimizersummary(task& t) noexcept {
  if (t.params.ival[TVN_IPAR_LOG] <= 0) return;
  const auto& d = t.info.dou;
  const auto& i = t.info.intg;
  const auto& l = t.info.lint;
  print(t, "Optimizer summary\n", "Optimizer summary\n");
  print_times(t, row_optimizer, d[TVN_DINF_OPTIMIZER_TIME]);
  print_work(t, row_interior, i[TVN_IINF_INTPNT_ITER], d[TVN_DINF_INTPNT_TIME]);
  print_times(t, row_bi, d[TVN_DINF_BI_TIME]);
  print_work(t, row_bi_primal, l[TVN_LIINF_BI_PRIMAL_ITER], d[TVN_DINF_BI_PRIMAL_TIME]);
  print_work(t, row_bi_dual, l[TVN_LIINF_BI_DUAL_ITER], d[TVN_DINF_BI_DUAL_TIME]);
  print_work(t, row_clean_primal, l[TVN_LIINF_BI_CLEAN_PRIMAL_ITER], d[TVN_DINF_BI_CLEAN_PRIMAL_TIME]);
  print_work(t, row_clean_dual, l[TVN_LIINF_BI_CLEAN_DUAL_ITER], d[TVN_DINF_BI_CLEAN_DUAL_TIME]);
  print_times(t, row_simplex, d[TVN_DINF_SIM_TIME]);
  print_work(t, row_primal, i[TVN_IINF_SIM_PRIMAL_ITER], d[TVN_DINF_SIM_PRIMAL_TIME]);
  print_work(t, row_dual, i[TVN_IINF_SIM_DUAL_ITER], d[TVN_DINF_SIM_DUAL_TIME]);
  print_work(t, row_primal_dual, i[TVN_IINF_SIM_PRIMAL_DUAL_ITER], d[TVN_DINF_SIM_PRIMAL_DUAL_TIME]);
  print(t, "    Mixed integer           - relaxations: %{jw}i\n\n",
        "    Blandet heltal          - relakseringer: %{jw}i\n\n", left, wide, i[TVN_IINF_MIO_NUM_RELAX]);
}

void TVN_msg_ccoptimizersummary(task& t) noexcept {
  const int32_t racers = TVNP_getprivateintinf(t, TVNP_IINF_CONCURRENT_NUM_OPTIMIZERS);
  const char* winner = optimizer_word(TVNP_getintinf(t, TVN_IINF_CONCURRENT_FASTEST_OPTIMIZER));
  print(t, "Concurrent optimizer summary.\n", "Oversigt over parallel optimering.\n");
  print(t, "Winning optimizer            : %s\n", "Vindende optimering          : %s\n", winner ? winner : "");
  print(t, "Winning optimizer time       : %{jwp}f\n", "Vindende optimerings tid     : %{jwp}f\n", left, 0, hundredths,
        TVNP_getprivatedouinf(t, TVNP_DINF_CONCURRENT_WINNING_TIME));
  print(t, "Number of optimizers employed: %i\n", "Antal anvendte optimeringer  : %i\n", racers);
  print(t, "Number of threads employed   : %i\n", "Antal anvendte tråde         : %i\n",
        TVNP_getprivateintinf(t, TVNP_IINF_CONCURRENT_NUM_THREADS));
  if (racers > shown_racers)
    print(t, "More than 5 concurrent optimizers was employed, only 5 is displayed in log.\n",
          "Flere end 5 parallelle optimeringer blev anvendt, kun 5 vises i loggen.\n");
  for (int32_t k = 0; k < std::min(racers, shown_racers); k++) {
    const char* word = optimizer_word(TVNP_getprivateintinf(t, TVNP_IINF_CONCURRENT_OPTIMIZER_THREAD_0 + k));
    print(t, "Optimizer for thread %i       : %s\n", "Optimering i tråd %i          : %s\n", k, word ? word : "");
  }
}

} // namespace tvn
