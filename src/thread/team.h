// A team of threads that shares the tiles of one job after the other.
//
// Threads start with the team and end with it. A tile goes to whoever comes first. The caller's thread works, too, and
// only it asks whether to go on: between its own tiles and while it waits. Threads that find no work spin for a moment,
// because the jobs of one factorisation follow each other closely, and then sleep.
#pragma once

#include <atomic>
#include <pthread.h>
#include <stdint.h>

namespace tvn {

constexpr int32_t maxteam = 64;

struct team_watch { // asked every few milliseconds; false ends the job at hand and all later ones
  void* handle = nullptr;
  bool (*go_on)(void* handle) = nullptr;
};

// thread: 0 is the caller's.
using team_tile = void (*)(void* arg, int64_t k, int32_t thread);

struct thread_team {
  // With fewer threads where the system gives no more.
  thread_team(int32_t numthreads, const team_watch& watch) noexcept;
  ~thread_team();
  thread_team(const thread_team&) = delete;
  thread_team& operator=(const thread_team&) = delete;

  int32_t numthreads = 1;
  std::atomic<bool> stopped{false}; // long tiles look at it

  struct member {
    thread_team* team;
    int32_t index;
    pthread_t id;
  };
  team_watch watch;
  member members[maxteam];
  pthread_mutex_t lock;
  pthread_cond_t work, idle; // there is a job, all have left it
  // Under the lock.
  team_tile tile = nullptr;
  void* arg = nullptr;
  int64_t num = 0;
  bool open = false;    // tiles may be left
  int32_t sleeping = 0; // members that wait for `work`
  bool callerwaits = false;
  // Read without the lock by those who spin.
  std::atomic<int64_t> next{0}, round{0};
  std::atomic<int32_t> inside{0};
  std::atomic<bool> quit{false};
};

// Runs tiles [0, num); all are done on return. False: stopped, some may be missing.
bool TVN_team_run(thread_team& t, int64_t num, team_tile tile, void* arg) noexcept;

} // namespace tvn
