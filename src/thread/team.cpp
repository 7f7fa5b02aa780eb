// A job is open from the call that gives it until its caller has found no more tiles; who comes later leaves at once. A
// member enters and leaves under the lock, takes tiles by a counter without it. The caller returns when nobody is
// inside.
#include "thread/team.h"

#include <algorithm>
#include <signal.h>
#include <time.h>

namespace tvn {

namespace {

constexpr int32_t spins = 4000;               // about a tenth of a millisecond
constexpr int64_t napnanoseconds = 5'000'000; // between two questions of a caller that waits

struct locked {
  pthread_mutex_t& m;
  explicit locked(pthread_mutex_t& mutex) : m(mutex) { pthread_mutex_lock(&m); }
  ~locked() { pthread_mutex_unlock(&m); }
};

void take_tiles(thread_team& t, team_tile tile, void* arg, int64_t num, int32_t thread) noexcept {
  while (!t.stopped.load(std::memory_order_relaxed)) {
    const int64_t k = t.next.fetch_add(1, std::memory_order_relaxed);
    if (k >= num) return;
    tile(arg, k, thread);
    if (thread == 0 && t.watch.go_on && !t.stopped && !t.watch.go_on(t.watch.handle)) t.stopped = true;
  }
}

// Returns when a later round than `seen` has begun or the team ends.
void await_round(thread_team& t, int64_t seen) noexcept {
  const auto nothing = [&] { return t.round.load(std::memory_order_acquire) == seen && !t.quit; };
  for (int32_t k = 0; k < spins && nothing(); k++) __builtin_ia32_pause();
  if (!nothing()) return;
  const locked hold(t.lock);
  t.sleeping++;
  while (nothing()) pthread_cond_wait(&t.work, &t.lock);
  t.sleeping--;
}

void* serve(void* handle) {
  const auto& self = *static_cast<thread_team::member*>(handle);
  thread_team& t = *self.team;
  int64_t seen = 0;
  while (true) {
    await_round(t, seen);
    if (t.quit) return nullptr;
    team_tile tile = nullptr;
    void* arg = nullptr;
    int64_t num = 0;
    {
      const locked hold(t.lock);
      seen = t.round;
      if (!t.open) continue; // came too late
      t.inside++;
      tile = t.tile;
      arg = t.arg;
      num = t.num;
    }
    take_tiles(t, tile, arg, num, self.index);
    const locked hold(t.lock);
    if (--t.inside == 0 && t.callerwaits) pthread_cond_signal(&t.idle);
  }
}

void open_job(thread_team& t, int64_t num, team_tile tile, void* arg) noexcept {
  const locked hold(t.lock);
  t.tile = tile;
  t.arg = arg;
  t.num = num;
  t.next.store(0, std::memory_order_relaxed);
  t.open = true;
  t.round++;
  if (t.sleeping > 0) pthread_cond_broadcast(&t.work);
}

// Nobody enters any more; waits for those who are inside.
void close_job(thread_team& t) noexcept {
  for (int32_t k = 0; k < spins && t.inside > 0; k++) __builtin_ia32_pause();
  pthread_mutex_lock(&t.lock);
  t.open = false;
  while (t.inside > 0) {
    timespec until{};
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_nsec += napnanoseconds;
    until.tv_sec += until.tv_nsec / 1'000'000'000;
    until.tv_nsec %= 1'000'000'000;
    t.callerwaits = true;
    pthread_cond_timedwait(&t.idle, &t.lock, &until);
    t.callerwaits = false;
    if (!t.watch.go_on || t.stopped) continue;
    pthread_mutex_unlock(&t.lock); // the user's function may take its time
    if (!t.watch.go_on(t.watch.handle)) t.stopped = true;
    pthread_mutex_lock(&t.lock);
  }
  pthread_mutex_unlock(&t.lock);
}

} // namespace

thread_team::thread_team(int32_t wanted, const team_watch& w) noexcept : watch(w) {
  pthread_mutex_init(&lock, nullptr);
  pthread_cond_init(&work, nullptr);
  pthread_cond_init(&idle, nullptr);
  if (wanted <= 1) return;
  sigset_t all, before; // the signals of the process are for its own threads
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  for (; numthreads < std::min(wanted, maxteam); numthreads++) {
    member& m = members[numthreads];
    m = {this, numthreads, {}};
    if (pthread_create(&m.id, nullptr, serve, &m) != 0) break;
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

thread_team::~thread_team() {
  {
    const locked hold(lock);
    quit = true;
    pthread_cond_broadcast(&work);
  }
  for (int32_t k = 1; k < numthreads; k++) pthread_join(members[k].id, nullptr);
  pthread_cond_destroy(&idle);
  pthread_cond_destroy(&work);
  pthread_mutex_destroy(&lock);
}

bool TVN_team_run(thread_team& t, int64_t num, team_tile tile, void* arg) noexcept {
  if (t.stopped) return false;
  if (t.numthreads > 1 && num > 1) {
    open_job(t, num, tile, arg);
    take_tiles(t, tile, arg, num, 0);
    close_job(t);
  } else {
    t.next.store(0, std::memory_order_relaxed);
    take_tiles(t, tile, arg, num, 0);
  }
  return !t.stopped;
}

} // namespace tvn
