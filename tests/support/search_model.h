// Search told plainly, by looking at every place of a string of bytes or of 16-bit units, and the runs that hold a file
// against it. A `Side` names what differs between the two: the file, its operations and its alphabets.
#pragma once

#include <gtest/gtest.h>
#include <vfile.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>

#include "support/cut_file.h"

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

inline std::ostream& operator<<(std::ostream& out, Outcome const& o) {
    return out << (o.found ? "found " : "missed ") << o.position << ", cursor " << o.cursor
               << (o.eof ? ", eof" : "");
}

template <class Char>
class SearchModel {
public:
    using String = std::basic_string<Char>;

    explicit SearchModel(String text) : text_(std::move(text)) {}

    Outcome Find(int from, Query<Char> const& q) const {
        int const m = static_cast<int>(q.pattern.size());
        int const length = static_cast<int>(text_.size());
        for (int start = from; start + m <= length; ++start) {
            if (!IsAt(start, q)) continue;
            int const end = start + m;
            if (!q.wholeWord) return {true, end, std::min(end + 1, length), end == length};
            if (!IsWord(end) && !IsWord(start - 1)) return {true, end, std::max(start - 1, 0), start == 0};
            start = end - 1;  // passed as a whole
        }
        return {false, std::max(from, length) + 1, length, true};
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

template <class Side>
class SearchAgainstModel {
public:
    using Char = typename Side::Char;
    using String = std::basic_string<Char>;

    explicit SearchAgainstModel(int seed) : random(static_cast<unsigned>(seed)) {}

    // Makes `text` the content, in blocks of 1 to `most` bytes, with bytes behind it that are no whole unit.
    void Fill(String const& text, int most) {
        cutter.Fill(Side::BytesOf(file), Bytes(text) + std::string(random() % sizeof(Char), 'a'), most,
                    random);
    }

    void ExpectSame(SearchModel<Char> const& model, int position, Query<Char> const& q) {
        std::int32_t at = position;
        file.res = ResNotDone;  // a search wipes it
        bool found = Side::Find(file, at, q);
        EXPECT_EQ(file.res, ResDone);
        ASSERT_EQ((Outcome{found, at, Side::Cursor(file), file.eof}), model.Find(position, q));
        at = position;
        found = Side::FindBack(file, at, q);
        ASSERT_EQ((Outcome{found, at, Side::Cursor(file), file.eof}), model.FindBack(position, q));
    }

    void BothWaysFromEverywhere() {
        for (int round = 0; round < 300; ++round) {
            auto const alphabet = AnyAlphabet();
            std::size_t const length = random() % (round % 10 ? 120 : 3000);
            String const text = Text(length, alphabet);
            SearchModel<Char> const model(text);
            Fill(text, round % 10 ? 1 + round % 40 : 1024);
            for (int i = 0; i < 40; ++i) {
                std::size_t const m = 1 + random() % (i % 8 ? 5 : 60);
                std::size_t const cut = random() % (length + 1);
                bool const taken = i % 2 == 0 && cut + m <= length;  // half of them are there to be found
                Query<Char> const q{taken ? text.substr(cut, m) : Text(m, alphabet), random() % 2 == 0,
                                    random() % 2 == 0};
                int const from = static_cast<int>(random() % (length + 3));
                SCOPED_TRACE("round " + std::to_string(round) + " pattern " +
                             ::testing::PrintToString(q.pattern) + " from " + std::to_string(from) +
                             (q.ignoreCase ? " -i" : "") + (q.wholeWord ? " -w" : ""));
                ASSERT_NO_FATAL_FAILURE(ExpectSame(model, from, q));
            }
        }
    }

    void ReplacesAll() {
        for (int round = 0; round < 600; ++round) {
            auto const alphabet = AnyAlphabet();
            String const text = Text(random() % 400, alphabet);
            Fill(text, 1 + round % 60);
            std::int32_t const behind = file.Length() % static_cast<int>(sizeof(Char));
            Query<Char> const q{Text(1 + random() % 3, alphabet), random() % 2 == 0, random() % 2 == 0};
            String const by = Text(random() % 5, alphabet);
            int count = 0;
            std::string const want = Bytes(SearchModel<Char>(text).Replaced(q, by, count)) +
                                     std::string(static_cast<std::size_t>(behind), 'a');
            SCOPED_TRACE("round " + std::to_string(round));
            ASSERT_EQ(Side::ReplaceGlobal(file, q, by), count);
            ASSERT_EQ(file.res, ResDone);
            ASSERT_TRUE(file.eof);
            ASSERT_EQ(file.GetPos(), static_cast<std::int32_t>(want.size()));
            ASSERT_EQ(file.Length(), static_cast<std::int32_t>(want.size()));
            std::string got(want.size(), '\0');
            file.SetPos(0);
            file.ReadBytes(got.data(), file.Length());
            ASSERT_EQ(got, want);
        }
    }

    // Patterns longer than a block, matches that lie across many of them, and a near miss that repeats itself.
    void PatternsLongerThanBlocks() {
        String const half(1500, 'a');
        String const b(1, 'b'), c(1, 'c');
        Query<Char> const q{half + b + half + c, false, false};
        String const text = half + b + half + half + b + half + c + half;
        for (int most : {3, 700, 1024}) {
            Fill(text, most);
            for (int from : {0, 1, 1501, 1503, 3002, 6004, 7503})
                ASSERT_NO_FATAL_FAILURE(ExpectSame(SearchModel<Char>(text), from, q)) << from;
        }
    }

private:
    static std::string Bytes(String const& text) {
        std::string bytes;
        for (Char const unit : text) {
            for (std::size_t i = 0; i < sizeof unit; ++i) bytes += static_cast<char>(unit >> 8 * i);
        }
        return bytes;
    }
    auto AnyAlphabet() { return Side::kAlphabets[random() % std::size(Side::kAlphabets)]; }
    String Text(std::size_t length, std::basic_string_view<Char> alphabet) {
        String text(length, Char{});
        for (Char& c : text) c = alphabet[random() % alphabet.size()];
        return text;
    }

    std::mt19937 random;
    BlockCutter cutter;
    typename Side::File file;
};

}  // namespace vfile::test
