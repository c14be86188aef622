// bench/PlainModels.cpp - the benchmark models in plain C++.
#include <cmath>

#include "Models.h"

namespace varnex3::bench {

std::array<double, 3> smallPlain(const std::array<double, 4>& x)
{
    const double b = x[0], h = x[1], length = x[2], force = x[3];
    const double inertia = b * (h * h * h) / 12.0;
    const double area = b * h;
    const double moment = force * length;
    const double stress = moment * (h / 2.0) / inertia;
    const double shear = 1.5 * force / area;
    const double deflection = force * (length * length * length) / (3.0 * 2.1e11 * inertia);
    const double mass = area * length * 7850.0;
    const double stiffness = force / deflection;
    const double frequency = std::sqrt(stiffness / (0.23 * mass)) / (2.0 * 3.14159265358979);
    const double equivalent = std::sqrt(stress * stress + 3.0 * (shear * shear));
    const double safety = 2.35e8 / equivalent;
    const double cost = mass * 2.5 + (safety < 1.5 ? 100.0 : 0.0);
    return {safety, cost, frequency};
}

std::array<double, 5> largePlain(const std::array<double, LargeModel::kWidth>& x)
{
    constexpr int n = LargeModel::kWidth;
    std::array<double, n> row = x, next{};
    for (int r = 0; r < LargeModel::kRows; ++r) {
        for (int c = 0; c < n; ++c)
            next[static_cast<std::size_t>(c)] = 0.5 * row[static_cast<std::size_t>(c)] +
                                                0.3 * row[static_cast<std::size_t>((c + 1) % n)] +
                                                0.2 * row[static_cast<std::size_t>((c + n - 1) % n)];
        row = next;
    }
    double total = 0.0, least = row[0], most = row[0], squares = 0.0;
    for (const double v : row) {
        total += v;
        least = v < least ? v : least;
        most = v > most ? v : most;
        squares += v * v;
    }
    return {total, least, most, squares / n - (total / n) * (total / n), row[0] - row[n - 1]};
}

} // namespace varnex3::bench
