#pragma once

#include <vector>

// Statistics of many measurements of one thing. On a machine that also does other things, the
// median says what is usual and the least what is possible. Without measurements, all are 0.

double median(std::vector<double> values);
double mean(const std::vector<double>& values);
double least(std::vector<double> values);

/// The value that `part` of the values (0 to 1) do not exceed.
double quantile(std::vector<double> values, double part);
