#include "base/clsLargePages.h"

#include <algorithm>
#include <new>
#include <numeric>
#include <sys/mman.h>

namespace {

constexpr std::size_t kPiece = clsLargePages::kPieceBytes;

/// Begins where a large page does.
std::byte* newPiece(bool inLargePages)
{
    void* const mapped = mmap(nullptr, 2 * kPiece, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) {
        throw std::bad_alloc();
    }
    void* aligned = mapped;
    std::size_t room = 2 * kPiece;
    std::align(kPiece, kPiece, aligned, room);
    auto *const begin = static_cast<std::byte*>(mapped), *const piece = static_cast<std::byte*>(aligned);
    if (piece > begin) {
        munmap(begin, static_cast<std::size_t>(piece - begin));
    }
    munmap(piece + kPiece, room - kPiece);
    madvise(piece, kPiece, inLargePages ? MADV_HUGEPAGE : MADV_NOHUGEPAGE); // without it they are only slower
    return piece;
}

} // namespace

clsLargePages::~clsLargePages()
{
    for (const Piece& piece : m_pieces) {
        munmap(piece.memory, kPiece);
    }
}

void* clsLargePages::Take()
{
    const std::scoped_lock lock(m_mutex);
    auto piece = std::ranges::find_if(m_pieces, [](const Piece& of) { return !of.free.empty(); });
    if (piece == m_pieces.end()) {
        m_pieces.reserve(m_pieces.size() + 1);
        std::vector<std::uint32_t> free(perPiece());
        std::iota(free.rbegin(), free.rend(), 0U);
        // The first one has small pages: it takes no more memory than is used.
        m_pieces.push_back({newPiece(!m_pieces.empty()), std::move(free)});
        piece = m_pieces.end() - 1;
    }
    const std::uint32_t number = piece->free.back();
    piece->free.pop_back();
    return piece->memory + number * m_bytes;
}

void clsLargePages::Give(void* array) noexcept
{
    const std::scoped_lock lock(m_mutex);
    auto* const at = static_cast<std::byte*>(array);
    const auto piece = std::ranges::find_if(m_pieces, [at](const Piece& of) {
        return !std::less<>()(at, of.memory) && std::less<>()(at, of.memory + kPiece);
    });
    piece->free.push_back(static_cast<std::uint32_t>(static_cast<std::size_t>(at - piece->memory) / m_bytes));
    if (piece->free.size() == perPiece()) {
        munmap(piece->memory, kPiece);
        m_pieces.erase(piece);
    }
}

std::size_t clsLargePages::Bytes() const
{
    const std::scoped_lock lock(m_mutex);
    return m_pieces.size() * kPiece;
}
