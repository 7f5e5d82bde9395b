// Runs the registered micro benchmarks and hands over what they took, instead of a report.
#pragma once

#include <map>
#include <string>

/// Each benchmark of Google Benchmark that is registered, in rounds that take turns at random: the median processor
/// time of one iteration in seconds, by the benchmark's name. The program's options are the library's.
std::map<std::string, double> RunBenchmarks(int argc, char** argv);
