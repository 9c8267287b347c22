#include "support/figures.h"

#include <cstdio>

namespace bench {
namespace {

constexpr Unit kRatio{"", 2};

std::string Number(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string WithSpread(Samples const& samples, Unit unit) {
    std::string text = Number(samples.Median(), unit.decimals);
    if (samples.Least() < samples.Greatest()) {
        text += " (" + Number(samples.Least(), unit.decimals) + " to " +
                Number(samples.Greatest(), unit.decimals) + ")";
    }
    return *unit.name ? text + " " + unit.name : text;
}

std::string BarText(Bar bar, Unit unit) {
    if (bar.kind == Bar::None) return "";
    std::string const text =
        (bar.kind == Bar::AtMost ? "at most " : "at least ") + Number(bar.value, unit.decimals);
    return *unit.name ? text + " " + unit.name : text;
}

}  // namespace

bool Bar::Reached(double figure) const {
    return kind == None || (kind == AtMost ? figure <= value : figure >= value);
}

void Figures::AddRow(std::string const& what, std::string const& ours, std::string const& peer,
                     std::string const& ratio, std::string const& bar, Bar judged, double figure) {
    bool const reached = judged.Reached(figure);
    allReached = allReached && reached;
    char const* const verdict = judged.kind == Bar::None ? "" : reached ? "yes" : "**no**";
    rows.push_back("| " + what + " | " + ours + " | " + peer + " | " + ratio + " | " + bar + " | " + verdict +
                   " |");
}

void Figures::AddRatio(std::string const& what, Paired const& sides, Unit unit, Bar bar) {
    std::string const barText = bar.kind == Bar::None ? "" : BarText(bar, kRatio) + " times";
    AddRow(what, WithSpread(sides.ours, unit), WithSpread(sides.peer, unit), WithSpread(sides.ratio, kRatio),
           barText, bar, sides.ratio.Median());
}

void Figures::AddPaired(std::string const& what, Paired const& sides, Unit unit, Bar bar) {
    AddRow(what, WithSpread(sides.ours, unit), WithSpread(sides.peer, unit), WithSpread(sides.ratio, kRatio),
           BarText(bar, unit), bar, sides.ours.Median());
}

void Figures::AddSingle(std::string const& what, Samples const& ours, Unit unit, Bar bar) {
    AddRow(what, WithSpread(ours, unit), "", "", BarText(bar, unit), bar, ours.Median());
}

void Figures::Print(bool withHead) const {
    if (withHead) {
        std::puts("| Figure | Ours | Peer | Ours / peer | Bar | Reached |\n|---|---|---|---|---|---|");
    }
    for (std::string const& row : rows) std::puts(row.c_str());
    std::fflush(stdout);
}

}  // namespace bench
