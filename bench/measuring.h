// SPDX-License-Identifier: Apache-2.0
// Times of two calls taken in turn, and the power by which a time grows.
#pragma once

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

/// Median and quartiles.
struct Spread {
    double lower;
    double median;
    double upper;
};

Spread spread(std::vector<double> values);

using Step = std::function<void()>;

/// Runs the steps in turn, round by round. Each round begins with another step, so other load on the machine affects
/// all steps alike. Returns the processor time in microseconds of each step in each round; waiting for the disk and
/// other programs do not count. `prepare` runs before every step and is not timed. A first round warms up and does not
/// count. Ends after `rounds` rounds, or after two seconds if 30 rounds are done by then.
std::vector<std::vector<double>> takeTurns(std::size_t rounds, const std::vector<Step>& steps,
                                           const Step& prepare = {});

/// `ratio` is that of `second` to `first`, round by round.
struct Comparison {
    Spread first;
    Spread second;
    Spread ratio;
};

/// Compares the times of two steps, given for each round.
Comparison compare(const std::vector<double>& first, const std::vector<double>& second);

/// The exponent b of the power law y = a * x^b that fits the points best: least squares of the logarithms.
double exponent(const std::vector<std::pair<double, double>>& points);
