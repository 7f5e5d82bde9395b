// Memory for many arrays of one size that are looked at here and there. It lies in the largest pages that the system
// has: where each look goes to another page, finding the page takes longer than the look.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

class clsLargePages {
public:
    /// The size of an array, at most `kPieceBytes`.
    explicit clsLargePages(std::size_t bytes) : m_bytes(bytes) {}
    clsLargePages(const clsLargePages&) = delete;
    clsLargePages& operator=(const clsLargePages&) = delete;
    ~clsLargePages();

    /// Room for an array; throws std::bad_alloc if there is none.
    void* Take();
    void Give(void* array) noexcept;
    /// What the system has given for them.
    std::size_t Bytes() const;

    static constexpr std::size_t kPieceBytes = std::size_t{2} << 20U;

private:
    struct Piece {
        std::byte* memory = nullptr;
        std::vector<std::uint32_t> free; ///< the numbers of its arrays that nobody has
    };

    std::size_t perPiece() const { return kPieceBytes / m_bytes; }

    std::size_t m_bytes;
    mutable std::mutex m_mutex;
    std::vector<Piece> m_pieces;
};

/// For a container whose arrays mostly have exactly `count` items: those lie in large pages, all others anywhere.
template <class Item, std::size_t count>
struct LargePageAllocator {
    using value_type = Item;
    template <class Other>
    struct rebind {
        using other = LargePageAllocator<Other, count>;
    };

    LargePageAllocator() = default;
    template <class Other>
    explicit LargePageAllocator(const LargePageAllocator<Other, count>&)
    {}

    Item* allocate(std::size_t items)
    {
        return items == count ? static_cast<Item*>(pages().Take()) : std::allocator<Item>().allocate(items);
    }
    void deallocate(Item* array, std::size_t items) noexcept
    {
        items == count ? pages().Give(array) : std::allocator<Item>().deallocate(array, items);
    }
    friend bool operator==(const LargePageAllocator&, const LargePageAllocator&) { return true; }

private:
    static clsLargePages& pages()
    {
        static clsLargePages all(count * sizeof(Item));
        return all;
    }
};
