// Medians, and the rows of the table.
#pragma once

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

using Samples = std::vector<double>;

inline double median(Samples samples)
{
    if (samples.empty())
        return 0;
    std::sort(samples.begin(), samples.end());
    const std::size_t middle = samples.size() / 2;
    return samples.size() % 2 == 1 ? samples[middle] : (samples[middle - 1] + samples[middle]) / 2;
}

// One line of the table; text that was formatted before.
inline void printRow(const std::string &figure, const std::string &measured,
                     const std::string &limit, const std::string &ratio, const std::string &aim)
{
    std::printf("| %s | %s | %s | %s | %s |\n", figure.c_str(), measured.c_str(), limit.c_str(),
                ratio.c_str(), aim.c_str());
    std::fflush(stdout);
}

inline std::string number(double value, int decimals, const char *unit = "")
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f%s", decimals, value, unit);
    return text;
}

// A figure beside its limit: both medians, and their ratio.
inline void printRatio(const std::string &figure, const Samples &measured, const Samples &limit,
                       int decimals, const char *unit, const std::string &aim)
{
    const double first = median(measured);
    const double second = median(limit);
    printRow(figure, number(first, decimals, unit), number(second, decimals, unit),
             second > 0 ? number(first / second, 2) : "-", aim);
}
