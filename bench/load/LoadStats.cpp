#include "LoadStats.h"

#include <algorithm>
#include <cmath>

namespace velkload
{

namespace
{
const std::size_t kKeptErrorTexts = 5;
}

void LoadStats::record(std::int64_t micros, Outcome outcome)
{
    _micros.push_back(micros);
    _sorted = false;
    switch (outcome)
    {
    case Ok: ++_ok; break;
    case Expected: ++_expected; break;
    case Error: ++_errors; break;
    }
}

void LoadStats::noteError(const std::string& text)
{
    if (_errorTexts.size() < kKeptErrorTexts)
        _errorTexts.push_back(text);
}

void LoadStats::merge(const LoadStats& other)
{
    _micros.insert(_micros.end(), other._micros.begin(), other._micros.end());
    _sorted = _micros.empty();
    _ok += other._ok;
    _expected += other._expected;
    _errors += other._errors;
    for (const std::string& t : other._errorTexts)
        noteError(t);
}

double LoadStats::percentileMs(double p)
{
    if (_micros.empty())
        return 0.0;
    if (!_sorted)
    {
        std::sort(_micros.begin(), _micros.end());
        _sorted = true;
    }
    std::size_t rank = static_cast<std::size_t>(std::ceil(p / 100.0 * double(_micros.size())));
    rank = std::min(std::max<std::size_t>(rank, 1), _micros.size());
    return double(_micros[rank - 1]) / 1000.0;
}

double LoadStats::maxMs()
{
    return percentileMs(100.0);
}

} // namespace velkload
