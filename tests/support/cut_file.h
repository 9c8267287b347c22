// Fills a virtual file so that its blocks are cut at given lengths: bytes from a host file come as blocks of
// their own.
#pragma once

#include "support/temp_dir.h"
#include "support/test.h"

namespace vfile::test {

class BlockCutter {
public:
    BlockCutter() { EXPECT_TRUE(host_.Create(dir_.Name("pieces").c_str(), true)); }

    // Makes `bytes` the content of `file`, in blocks of 1 to `most` bytes.
    void Fill(VFile& file, std::string const& bytes, int most, std::mt19937& random) {
        host_.SetPos(0);
        host_.Truncate();
        host_.WriteBytes(bytes.data(), static_cast<std::int32_t>(bytes.size()));
        host_.SetPos(0);
        file.ReplaceBuf(0, MaxLen, nullptr, 0);
        auto left = static_cast<int>(bytes.size());
        while (left > 0) {
            int const n = std::min(left, 1 + static_cast<int>(random() % static_cast<unsigned>(most)));
            file.ReplaceFile(file.Length(), 0, host_, n);
            left -= n;
        }
        ASSERT_EQ(file.res, ResDone);
        ASSERT_EQ(file.Length(), static_cast<std::int32_t>(bytes.size()));
    }

private:
    TempDir dir_;
    HFile host_;
};

// `len` bytes, each one of `alphabet`.
inline std::string RandomText(std::mt19937& random, std::size_t len, std::string_view alphabet) {
    std::string text(len, '\0');
    for (char& c : text) c = alphabet[random() % alphabet.size()];
    return text;
}

}  // namespace vfile::test
