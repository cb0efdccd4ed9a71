#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

/// The median of what `step` takes, in milliseconds.
class Median {
public:
    template<typename Step> void time(Step step)
    {
        const auto start = std::chrono::steady_clock::now();
        step();
        const std::chrono::duration<double, std::milli> taken
            = std::chrono::steady_clock::now() - start;
        m_values.push_back(taken.count());
    }

    [[nodiscard]] double milliseconds()
    {
        const auto middle = m_values.begin() + std::ptrdiff_t(m_values.size() / 2);
        std::nth_element(m_values.begin(), middle, m_values.end());
        return *middle;
    }

private:
    std::vector<double> m_values;
};
