/// A vector in external memory, under the names of the other sequences. It is built as C++17, the last language that its
/// library knows, which is why nothing of that library is seen here.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace bench {

class StxxlVector {
public:
    static constexpr char kName[] = "STXXL";
    static constexpr bool kInserts = false;  // it can only grow at its end

    /// Keeps a file beside `path`, of which as much is cached as ours caches.
    explicit StxxlVector(std::string const& path);
    ~StxxlVector();
    StxxlVector(StxxlVector const&) = delete;
    StxxlVector& operator=(StxxlVector const&) = delete;

    void Insert(std::int64_t, std::string const&) {}
    unsigned char At(std::int64_t at) const;
    bool Has(char const* pattern) const;
    std::int64_t Length() const;

private:
    struct Vector;
    std::unique_ptr<Vector> vector;
};

}  // namespace bench
