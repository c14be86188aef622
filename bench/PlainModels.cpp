// bench/PlainModels.cpp - the benchmark models in plain C++.
#include <algorithm>
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

std::array<double, 5> mediumPlain(const std::array<double, 10>& x)
{
    constexpr int n = MediumModel::kStations, m = MediumModel::kTable;
    struct Table {
        std::array<double, m> keys, values;
        std::array<double, n> places;
        Table()
        {
            for (int k = 0; k < m; ++k) {
                keys[static_cast<std::size_t>(k)] = MediumModel::tableKey(k);
                values[static_cast<std::size_t>(k)] = MediumModel::tableValue(k);
            }
            for (int r = 0; r < n; ++r) places[static_cast<std::size_t>(r)] = MediumModel::place(r);
        }
        double at(double key) const
        {
            const auto above = std::upper_bound(keys.begin(), keys.end(), key);
            return values[static_cast<std::size_t>(above - keys.begin()) - 1];
        }
    };
    static const Table table;
    std::array<double, n> b{}, c{}, d{};
    for (std::size_t r = 0; r < n; ++r) {
        b[r] = x[0] * table.places[r] + x[1];
        c[r] = table.at(b[r]) * x[2];
        d[r] = (c[r] > x[3] ? x[3] + (c[r] - x[3]) * x[4] : c[r]) - x[5] * b[r];
    }
    double sumB = 0.0, sumC = 0.0, sumD = 0.0, most = d[0], least = d[0], products = 0.0, low = 0.0,
           high = 0.0;
    std::array<double, 3> thirds{};
    for (std::size_t r = 0; r < n; ++r) {
        sumB += b[r];
        sumC += c[r];
        sumD += d[r];
        most = d[r] > most ? d[r] : most;
        least = d[r] < least ? d[r] : least;
        products += b[r] * d[r];
        thirds[r / 30] += c[r];
        (r < n / 2 ? low : high) += d[r] * d[r];
    }
    const double meanC = sumC / n, meanD = sumD / n;
    double squaresC = 0.0, squaresD = 0.0;
    for (std::size_t r = 0; r < n; ++r) {
        squaresC += (c[r] - meanC) * (c[r] - meanC);
        squaresD += (d[r] - meanD) * (d[r] - meanD);
    }
    const double deviation = std::sqrt(squaresD / (n - 1));
    const double greatest = std::max({thirds[0], thirds[1], thirds[2]}),
                 smallest = std::min({thirds[0], thirds[1], thirds[2]}), spread = greatest - smallest;
    const double chosen = spread > x[7] && most > 0.0 ? spread * x[8] : x[7];
    double weights = 0.0;
    for (int k = 0; k < MediumModel::kWeights; ++k) weights += MediumModel::weight(k);
    const double decay = std::exp(-(table.at(x[6]) * x[9]) / 100.0);
    return {weights * decay + std::log(1.0 + high) * std::fabs(least),
            chosen + products / (sumB / n) * (deviation / std::sqrt(static_cast<double>(n))),
            std::round(meanD * 1e4) / 1e4, std::sqrt(squaresC / (n - 1)), std::sqrt(low / n)};
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
