#pragma once
// Contract checks. They guard against our own mistakes, never against a user's input, and stay on in optimised builds; only the
// benchmarks switch them off. Keep them out of per-sample loops.
#include <cstdio>
#include <cstdlib>

#ifdef MORVANE_NO_ASSERTS
#define MORVANE_ASSERT(condition) ((void)sizeof(condition))
#else
#define MORVANE_ASSERT(condition) \
  ((condition) ? (void)0 : (std::fprintf(stderr, "%s:%d: assertion failed: %s\n", __FILE__, __LINE__, #condition), std::abort()))
#endif
