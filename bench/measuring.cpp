// SPDX-License-Identifier: Apache-2.0
#include "bench/measuring.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>

namespace {

double processorTime()
{
    timespec time{};
    (void)clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time); // cannot fail for one's own thread
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

} // namespace

Spread spread(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const auto at = [&](double share) {
        return values[static_cast<std::size_t>(std::lround(share * static_cast<double>(values.size() - 1)))];
    };
    return {at(0.25), at(0.5), at(0.75)};
}

std::vector<std::vector<double>> takeTurns(std::size_t rounds, const std::vector<Step>& steps, const Step& prepare)
{
    using Clock = std::chrono::steady_clock;
    std::vector<std::vector<double>> times(steps.size());
    const auto end = Clock::now() + std::chrono::seconds(2);
    for (std::size_t round = 0; round < rounds && (round < 30 || Clock::now() < end); ++round) {
        for (std::size_t turn = 0; turn < steps.size(); ++turn) {
            const std::size_t which = (round + turn) % steps.size();
            (prepare ? prepare : steps[which])();
            const double start = processorTime();
            steps[which]();
            times[which].push_back(processorTime() - start);
        }
    }
    return times;
}

Comparison compare(const std::vector<double>& first, const std::vector<double>& second)
{
    std::vector<double> ratios;
    for (std::size_t round = 0; round < first.size(); ++round)
        ratios.push_back(second[round] / first[round]);
    return {spread(first), spread(second), spread(ratios)};
}

double exponent(const std::vector<std::pair<double, double>>& points)
{
    const auto count = static_cast<double>(points.size());
    double sumX = 0;
    double sumY = 0;
    double sumXX = 0;
    double sumXY = 0;
    for (const auto& [size, time] : points) {
        const double x = std::log(size);
        const double y = std::log(time);
        sumX += x;
        sumY += y;
        sumXX += x * x;
        sumXY += x * y;
    }
    return (count * sumXY - sumX * sumY) / (count * sumXX - sumX * sumX);
}
