#pragma once
// What the bench files registered, for bench/main.cpp alone.
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Claims.h"

namespace bench {

std::vector<Benchmark>& AllBenchmarks();
std::map<std::string, std::function<void(const std::string&)>>& AllChildTasks();
/// At the end of a child's task: its peak, for PeakBytesInChild.
void TellPeak();

}  // namespace bench
