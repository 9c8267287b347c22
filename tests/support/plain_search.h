// Search told plainly, by looking at every place of a string of bytes or of 16-bit units.
#pragma once

#include "support/test.h"

namespace vfile::test {

template <class Char>
struct Query {
    std::basic_string<Char> pattern;
    bool ignoreCase;
    bool wholeWord;
};

// What a search gives and leaves.
struct Outcome {
    bool found;
    std::int32_t position;
    std::int32_t cursor;
    bool eof;
    bool operator==(Outcome const&) const = default;
};

template <class Char>
class SearchModel {
public:
    using String = std::basic_string<Char>;

    explicit SearchModel(String text) : text_(std::move(text)) {}

    Outcome Find(int from, Query<Char> const& q) const {
        int const m = static_cast<int>(q.pattern.size());
        int const length = static_cast<int>(text_.size());
        for (int start = std::min(from, length); start + m <= length; ++start) {
            if (!IsAt(start, q)) continue;
            int const end = start + m;
            if (!q.wholeWord) return {true, end, std::min(end + 1, length), end == length};
            if (!IsWord(end) && !IsWord(start - 1)) return {true, end, std::max(start - 1, 0), start == 0};
            start = end - 1;  // passed as a whole
        }
        return {false, from < MaxLen ? std::max(from, length) + 1 : MaxLen, length, true};
    }

    Outcome FindBack(int limit, Query<Char> const& q) const {
        int const m = static_cast<int>(q.pattern.size());
        int const length = static_cast<int>(text_.size());
        for (int start = std::min(limit, length) - m; start >= 0; --start) {
            if (!IsAt(start, q)) continue;
            int const end = start + m;
            if (!q.wholeWord) return {true, start, std::max(start - 1, 0), start == 0};
            if (!IsWord(start - 1) && !IsWord(end))
                return {true, start, std::min(end + 1, length), end == length};
            start -= m - 1;
        }
        return {false, -1, 0, true};
    }

    String Replaced(Query<Char> const& q, String const& by, int& count) const {
        SearchModel done(text_);
        count = 0;
        int from = 0;
        for (Outcome o = done.Find(from, q); o.found; o = done.Find(from, q)) {
            int const m = static_cast<int>(q.pattern.size());
            done.text_.replace(static_cast<std::size_t>(o.position - m), q.pattern.size(), by);
            from = o.position - m + static_cast<int>(by.size());
            ++count;
        }
        return done.text_;
    }

private:
    static Char Upper(Char c) { return c >= 'a' && c <= 'z' ? static_cast<Char>(c - 32) : c; }

    bool IsAt(int start, Query<Char> const& q) const {
        for (std::size_t k = 0; k < q.pattern.size(); ++k) {
            Char const a = text_[static_cast<std::size_t>(start) + k];
            Char const b = q.pattern[k];
            if (q.ignoreCase ? Upper(a) != Upper(b) : a != b) return false;
        }
        return true;
    }
    bool IsWord(int at) const {
        if (at < 0 || at >= static_cast<int>(text_.size())) return false;
        Char const c = Upper(text_[static_cast<std::size_t>(at)]);
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z');
    }

    String text_;
};

}  // namespace vfile::test
