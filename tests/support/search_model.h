// The runs that hold a file's search against the plain one. A `Side` names what differs between the two: the file, its operations and its alphabets.
#pragma once

#include <gtest/gtest.h>
#include <vfile.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>

#include "support/cut_file.h"
#include "support/plain_search.h"

namespace vfile::test {

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
    // A third of them repeats itself but for a few units, so that matches fail late.
    String Text(std::size_t length, std::basic_string_view<Char> alphabet) {
        std::size_t const period = random() % 3 ? length : 1 + random() % 7;
        String text(length, Char{});
        for (std::size_t i = 0; i < length; ++i) {
            bool const fresh = i < period || random() % 25 == 0;
            text[i] = fresh ? alphabet[random() % alphabet.size()] : text[i - period];
        }
        return text;
    }

    std::mt19937 random;
    BlockCutter cutter;
    typename Side::File file;
};

}  // namespace vfile::test
