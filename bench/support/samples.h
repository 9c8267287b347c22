/// Repeated measurements of one thing, told by their median and by the spread from least to greatest.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

namespace bench {

class Samples {
public:
    void Add(double value) { values.insert(std::upper_bound(values.begin(), values.end(), value), value); }

    /// Of no samples, all of these are 0.
    double Median() const {
        if (values.empty()) return 0;
        std::size_t const middle = values.size() / 2;
        return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    }
    double Least() const { return values.empty() ? 0 : values.front(); }
    double Greatest() const { return values.empty() ? 0 : values.back(); }

private:
    std::vector<double> values;  // in order
};

/// The same work done by the two sides, round by round. The ratios are those of one round each: what slows
/// the machine down for a while slows both of its sides.
struct Paired {
    Samples ours, peer, ratio;

    void Add(double oursValue, double peerValue) {
        ours.Add(oursValue);
        peer.Add(peerValue);
        ratio.Add(oursValue / peerValue);
    }
};

/// Seconds that `work` takes.
template <class Work>
double Seconds(Work&& work) {
    auto const begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// Measures both sides `rounds` times in turn; each is called for one figure. Who goes first changes with
/// every round, since the second finds memory and clock rate as the first left them.
template <class Ours, class Peer>
Paired Alternate(int rounds, Ours&& ours, Peer&& peer) {
    Paired result;
    for (int round = 0; round < rounds; ++round) {
        bool const oursFirst = round % 2 == 0;
        double const first = oursFirst ? ours() : peer();
        double const second = oursFirst ? peer() : ours();
        result.Add(oursFirst ? first : second, oursFirst ? second : first);
    }
    return result;
}

}  // namespace bench
