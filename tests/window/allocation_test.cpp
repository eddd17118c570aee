// An unchanged overlay costs a hash: no memory is asked for.
#include "window/window_desk.h"

#include <cstdlib>
#include <new>

namespace {

bool counting = false;
int allocations = 0;

void* allocate(std::size_t size) {
    if (counting) ++allocations;
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}

} // namespace

void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (counting) ++allocations;
    return std::malloc(size ? size : 1);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return operator new(size, std::nothrow);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace vt {
namespace {

class Allocations : public Desk {
protected:
    int during(TestOverlay& overlay, const SimFrame& frame) {
        allocations = 0;
        counting = true;
        for (int i = 0; i < 60; ++i) {
            advance(clock, 1.0 / 60);
            overlayTick(overlay, &frame);
        }
        counting = false;
        return allocations;
    }
};

TEST_F(Allocations, NoneForAnUnchangedOrHiddenOverlay) {
    TestOverlay& overlay = add(kSlotSession);
    overlay.usesChrome = true;
    config.session.showHeader = config.session.showFooter = true;
    config.session.headerCenter = 14;
    tick(live, 2);
    EXPECT_EQ(during(overlay, live), 0);
    EXPECT_EQ(overlay.draws, 1);
    const SimFrame none;
    tick(none);
    EXPECT_EQ(during(overlay, none), 0);
}

} // namespace
} // namespace vt
