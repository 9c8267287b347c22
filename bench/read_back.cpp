// Reading a file whose bytes all lie in the swap file, upward in large pieces and downward block by block,
// against reads of the same shape from the host file that it was loaded from.

#include <fcntl.h>

#include <cstring>
#include <optional>
#include <vector>

#include "support/host_files.h"
#include "support/library.h"
#include "support/run.h"
#include "support/samples.h"

using namespace bench;

namespace {

class Reader {
public:
    explicit Reader(Context const& context)
        : length(static_cast<std::int32_t>(context.bytes)), directory(context.directory) {
        std::string const path = context.Path("source");
        MakeFile(path, context.bytes);
        LoadOrFail(file, path);
        host.emplace(path, O_RDONLY);
    }

    // Gigabytes a second of one pass; `piece` divides the length. Nothing is cached by the library
    // beforehand.
    double Ours(std::int32_t piece, bool upward) {
        vfile::VFile::ReleaseCache();
        SyncDisk(directory);
        return Rate(piece, upward, [&](std::int32_t at) { ReadOurs(at, ours.data(), piece, upward); });
    }

    double Peer(std::int32_t piece, bool upward) {
        SyncDisk(directory);
        return Rate(piece, upward, [&](std::int32_t at) {
            ReadAt(*host, at, peer.data(), static_cast<std::size_t>(piece));
        });
    }

    void RequireSame(std::int32_t piece, bool upward) {
        Rate(piece, upward, [&](std::int32_t at) {
            std::size_t const len = static_cast<std::size_t>(piece);
            ReadOurs(at, ours.data(), piece, upward);
            ReadAt(*host, at, peer.data(), len);
            Require(std::memcmp(ours.data(), peer.data(), len) == 0, "read other bytes than were loaded");
        });
    }

private:
    void ReadOurs(std::int32_t at, void* dst, std::int32_t piece, bool upward) {
        if (!upward || at == 0) file.SetPos(at);
        Require(file.ReadBytes(dst, piece) == piece, "read fewer bytes than were loaded");
    }

    template <class Read>
    double Rate(std::int32_t piece, bool upward, Read&& read) {
        double const seconds = Seconds([&] {
            for (std::int32_t done = 0; done < length; done += piece)
                read(upward ? done : length - piece - done);
        });
        return length / seconds / 1e9;
    }

    std::int32_t length;
    std::string directory;
    vfile::VFile file;
    std::optional<Descriptor> host;
    std::vector<char> ours = std::vector<char>(kStep), peer = std::vector<char>(kStep);
};

void Measure(Context const& context, Figures& figures) {
    struct Shape {
        char const* name;
        std::int32_t piece;
        bool upward;
        double bar;
    };
    constexpr Shape kShapes[] = {
        {"in pieces of 64 KiB, upward", kStep,          true,  4},
        {"block by block, downward",    vfile::BlkSize, false, 3},
    };
    UseSettings(context);
    Reader reader(context);
    for (Shape const& shape : kShapes) {
        reader.RequireSame(shape.piece, shape.upward);
        Paired const rate = Alternate(
            context.rounds, [&] { return reader.Ours(shape.piece, shape.upward); },
            [&] { return reader.Peer(shape.piece, shape.upward); });
        figures.AddPaired("Read " + context.SizeName() + " from the swap file " + shape.name, rate,
                          {"GB/s", 2}, {Bar::AtLeast, shape.bar});
    }
}

}  // namespace

int main(int argc, char** argv) { return Run(argc, argv, Measure); }
