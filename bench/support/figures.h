/// The figures that a benchmark found, as rows of one Markdown table.
#pragma once

#include <string>
#include <vector>

#include "support/samples.h"

namespace bench {

/// What a figure must reach.
struct Bar {
    enum Kind { None, AtMost, AtLeast } kind = None;
    double value = 0;

    bool Reached(double figure) const;
};

/// How a quantity is written: `decimals` places, then the unit.
struct Unit {
    char const* name;
    int decimals;
};

class Figures {
public:
    /// Both sides in `unit`; the bar is on the median of the ratios.
    void AddRatio(std::string const& what, Paired const& sides, Unit unit, Bar bar);

    /// Both sides in `unit`; the bar is on the median of ours.
    void AddPaired(std::string const& what, Paired const& sides, Unit unit, Bar bar);

    /// Ours alone.
    void AddSingle(std::string const& what, Samples const& ours, Unit unit, Bar bar);

    /// Writes the rows to standard output, under the table's head where `withHead`.
    void Print(bool withHead) const;

    bool AllReached() const { return allReached; }

private:
    void AddRow(std::string const& what, std::string const& ours, std::string const& peer,
                std::string const& ratio, std::string const& bar, Bar judged, double figure);

    std::vector<std::string> rows;
    bool allReached = true;
};

}  // namespace bench
