#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

/// Measured values of one kind.
class Samples
{
public:
    void add(double value) { m_values.push_back(value); }
    std::size_t size() const { return m_values.size(); }

    /// The value that `percent` per cent of all lie below; 0 if there are none.
    double percentile(unsigned percent) const
    {
        if (m_values.empty())
            return 0;
        std::vector<double> sorted = m_values;
        std::sort(sorted.begin(), sorted.end());
        return sorted[std::min(sorted.size() * percent / 100, sorted.size() - 1)];
    }
    double median() const { return percentile(50); }
    double worst() const { return percentile(100); }

private:
    std::vector<double> m_values;
};
