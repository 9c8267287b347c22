#include "vmem/swap_file.h"

#include <vfile/bounded_strings.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>

namespace vfile {
namespace {

alignas(4096) constexpr std::byte kZeros[64 * 1024] = {};

// Why a transfer of `moved` bytes came to its end.
Transfer Failure(std::size_t moved) {
    return moved == 0 && platform::LastError() == platform::kInvalidParameter ? Transfer::kBadPosition
                                                                              : Transfer::kFailed;
}

}  // namespace

bool SwapFile::Create(TChar const* dir) {
    TChar name[MaxNameUnits];
    swapHandle = CreateSwapFile(name, MaxNameUnits, dir);
    if (!IsOpen()) return false;

    std::size_t const units = std::char_traits<TChar>::length(name) + 1;
    swapName = static_cast<TChar*>(std::malloc(units * sizeof(TChar)));
    if (swapName) AssignStr(swapName, static_cast<std::uint32_t>(units), name);
    return true;
}

void SwapFile::Close() {
    if (IsOpen()) platform::CloseFile(swapHandle);
    swapHandle = InvalidHandle();
    std::free(swapName);
    swapName = nullptr;
    swapSize = 0;
    readAhead.Clear();
}

Transfer SwapFile::Read(std::int32_t addr, std::byte* dst) {
    if (readAhead.Fetch(swapHandle, swapSize, addr, dst)) return Transfer::kDone;
    std::size_t got = 0;
    if (!platform::ReadAt(swapHandle, addr, dst, kPageSize, got)) return Failure(got);
    return got == kPageSize ? Transfer::kDone : Transfer::kFailed;
}

Transfer SwapFile::Write(std::int32_t addr, std::span<CacheDesc* const> pages, std::size_t& whole) {
    std::array<platform::Piece, kRunPages> pieces;
    std::ranges::transform(pages, pieces.begin(), [](CacheDesc const* page) {
        return platform::Piece{page->data, kPageSize};
    });
    std::size_t put = 0;
    bool const done = platform::WriteAt(swapHandle, addr, std::span(pieces).first(pages.size()), put);

    whole = put / kPageSize;
    readAhead.Written(addr, pages.first(whole));
    GrowTo(addr + static_cast<std::int64_t>(whole) * kPageSize);
    if (done) return Transfer::kDone;

    Transfer const failure = Failure(put);
    readAhead.Spoilt(addr, static_cast<std::int64_t>(pages.size()) * kPageSize);
    return failure;
}

Transfer SwapFile::Extend(std::int64_t size) {
    std::array<platform::Piece, 16> pieces;
    while (swapSize < size) {
        std::size_t count = 0;
        auto left = static_cast<std::size_t>(size - swapSize);
        for (; left > 0 && count < pieces.size(); ++count) {
            pieces[count] = {kZeros, std::min(left, sizeof kZeros)};
            left -= pieces[count].len;
        }
        std::size_t put = 0;
        bool const done = platform::WriteAt(swapHandle, swapSize, std::span(pieces).first(count), put);
        GrowTo(swapSize + static_cast<std::int64_t>(put / kPageSize * kPageSize));
        if (!done) return Failure(put);
    }
    return Transfer::kDone;
}

void SwapFile::GrowTo(std::int64_t end) { swapSize = std::max(swapSize, end); }

}  // namespace vfile
