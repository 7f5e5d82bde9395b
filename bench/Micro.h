// Runs the registered micro benchmarks and returns their times instead of printing a report.
#pragma once

#include <map>
#include <string>

/// Runs every registered benchmark of Google Benchmark, in rounds in random order: the median processor time of one
/// iteration in seconds, by the benchmark's name. The program's options are those of the library.
std::map<std::string, double> RunBenchmarks(int argc, char** argv);
