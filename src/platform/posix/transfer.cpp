#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

#include "platform/platform.h"
#include "platform/posix/calls.h"
#include "platform/posix/errors.h"

namespace vfile::platform {

namespace {

// The system tells one number for a closed descriptor and for one that is open the other way.
bool FailTransfer(int descriptor, int systemError) {
    bool const isOpen = systemError == EBADF && fcntl(descriptor, F_GETFL) != -1;
    return Fail(isOpen ? EACCES : systemError);
}

std::size_t OfOneCall(std::size_t len) { return std::min(len, kMaxTransfer); }

// Where a gathered write stands: the piece, and the bytes of it that are out.
class Gather {
public:
    explicit Gather(std::span<Piece const> pieces) : pieces_(pieces) {}

    // The pieces that one call takes; 0 when all is written.
    int Fill(iovec* vectors) {
        int count = 0;
        std::size_t room = kMaxTransfer, skip = done_;
        for (Piece const& piece : pieces_) {
            if (count == IOV_MAX || room == 0) break;
            std::size_t const len = std::min(piece.len - skip, room);
            auto* const start = static_cast<char*>(const_cast<void*>(piece.data));
            if (len > 0) vectors[count++] = {start + skip, len};
            room -= len;
            skip = 0;
        }
        return count;
    }

    void Advance(std::size_t put) {
        done_ += put;
        while (!pieces_.empty() && done_ >= pieces_.front().len) {
            done_ -= pieces_.front().len;
            pieces_ = pieces_.subspan(1);
        }
    }

private:
    std::span<Piece const> pieces_;
    std::size_t done_ = 0;
};

}  // namespace

bool Read(Handle file, void* dst, std::size_t len, std::size_t& got) {
    int const descriptor = DescriptorOf(file);
    got = 0;
    // Only what was asked in full is asked further: a short read is the end of this transfer.
    for (std::size_t asked = 0; got == asked;) {
        std::size_t const step = OfOneCall(len - got);
        asked = got + step;
        char* const at = static_cast<char*>(dst) + got;
        ssize_t const count = Repeated([&] { return read(descriptor, at, step); });
        if (count == -1) return FailTransfer(descriptor, errno);
        got += static_cast<std::size_t>(count);
        if (got == len) break;
    }
    return true;
}

bool Write(Handle file, void const* src, std::size_t len, std::size_t& put) {
    int const descriptor = DescriptorOf(file);
    put = 0;
    do {
        char const* const at = static_cast<char const*>(src) + put;
        ssize_t const count = Repeated([&] { return write(descriptor, at, OfOneCall(len - put)); });
        if (count == -1) return FailTransfer(descriptor, errno);
        if (count == 0 && len > 0) return Fail(ENOSPC);
        put += static_cast<std::size_t>(count);
    } while (put < len);
    return true;
}

bool ReadAt(Handle file, std::int64_t at, void* dst, std::size_t len, std::size_t& got) {
    int const descriptor = DescriptorOf(file);
    got = 0;
    while (got < len) {
        char* const to = static_cast<char*>(dst) + got;
        off_t const from = at + static_cast<std::int64_t>(got);
        ssize_t const count = Repeated([&] { return pread(descriptor, to, OfOneCall(len - got), from); });
        if (count == -1) return FailTransfer(descriptor, errno);
        if (count == 0) break;
        got += static_cast<std::size_t>(count);
    }
    return true;
}

bool WriteAt(Handle file, std::int64_t at, std::span<Piece const> pieces, std::size_t& put) {
    int const descriptor = DescriptorOf(file);
    put = 0;
    Gather gather(pieces);
    iovec vectors[IOV_MAX];
    while (int const count = gather.Fill(vectors)) {
        off_t const to = at + static_cast<std::int64_t>(put);
        ssize_t const written = Repeated([&] { return pwritev(descriptor, vectors, count, to); });
        if (written == -1) return FailTransfer(descriptor, errno);
        if (written == 0) return Fail(ENOSPC);
        put += static_cast<std::size_t>(written);
        gather.Advance(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace vfile::platform
