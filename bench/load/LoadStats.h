// Latencies and answer counts of one kind of request, merged over clients.
#ifndef VELK_BENCH_LOADSTATS_H
#define VELK_BENCH_LOADSTATS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velkload
{

class LoadStats
{
public:
    // One answer: its latency in microseconds and how it was judged.
    enum Outcome { Ok, Expected, Error };
    void record(std::int64_t micros, Outcome outcome);
    // Keeps the first few texts of real errors for the report.
    void noteError(const std::string& text);
    void merge(const LoadStats& other);

    std::size_t count() const { return _micros.size(); }
    std::size_t ok() const { return _ok; }
    std::size_t expected() const { return _expected; }
    std::size_t errors() const { return _errors; }
    const std::vector<std::string>& errorTexts() const { return _errorTexts; }

    // Nearest-rank percentile (0 < p <= 100) in milliseconds; 0 when empty.
    // Sorts the samples on first use after a change.
    double percentileMs(double p);
    double maxMs();

private:
    std::vector<std::int64_t> _micros;
    bool _sorted = true;
    std::size_t _ok = 0;
    std::size_t _expected = 0;
    std::size_t _errors = 0;
    std::vector<std::string> _errorTexts;
};

} // namespace velkload

#endif
