// edit_plain FILE SCRIPT OUT: the inserts and deletes of the script on a text held in memory as plain
// strings, to compare with what the library made of the same. The copy at the script's end is left to the
// caller.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "edit_script.h"

namespace {

// The text cut into strings, so that an edit moves the bytes of one of them and not of the whole text.
class PlainText {
public:
    explicit PlainText(std::istream& in) {
        do {
            std::string piece(kPiece, '\0');
            in.read(piece.data(), kPiece);
            piece.resize(static_cast<std::size_t>(in.gcount()));
            pieces.push_back(piece);
        } while (in);
    }

    void Insert(std::size_t at, std::string const& bytes) {
        std::size_t const piece = Find(at);
        pieces[piece].insert(at, bytes);
    }

    void Erase(std::size_t at, std::size_t len) {
        for (std::size_t piece = Find(at); len > 0; ++piece, at = 0) {
            std::size_t const here = std::min(len, pieces.at(piece).size() - at);
            pieces[piece].erase(at, here);
            len -= here;
        }
    }

    void Write(std::ostream& out) const {
        for (std::string const& piece : pieces)
            out.write(piece.data(), static_cast<std::streamsize>(piece.size()));
    }

private:
    static constexpr std::size_t kPiece = 65536;

    // The piece that holds position `at`, which becomes the offset in it. The end of the text is in the last.
    std::size_t Find(std::size_t& at) const {
        std::size_t piece = 0;
        for (; piece + 1 < pieces.size() && at >= pieces[piece].size(); ++piece) at -= pieces[piece].size();
        return piece;
    }

    std::vector<std::string> pieces;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    std::ifstream in(argv[1], std::ios::binary), script(argv[2], std::ios::binary);
    std::ofstream out(argv[3], std::ios::binary);
    if (!in || !script || !out) {
        std::perror("edit_plain");
        return 2;
    }
    PlainText text(in);
    for (demo::Edit edit; demo::ReadEdit(script, edit) && edit.kind != '=';) {
        std::size_t const at = static_cast<std::size_t>(edit.at);
        if (edit.kind == '+')
            text.Insert(at, edit.bytes);
        else
            text.Erase(at, static_cast<std::size_t>(edit.len));
    }
    text.Write(out);
    return out.flush() ? 0 : 1;
}
