#include "support/generators.hpp"

#include "support/draw.hpp"

#include <algorithm>

namespace zqsp::test {

Storage drawStorage()
{
    return drawFrom(sparseStorages());
}

namespace {

/// How the values of one matrix or right-hand side come about.
struct Values
{
    Storage storage;
    bool hasImaginary; ///< false: a complex one is stored with imaginary zeros

    explicit Values(Storage s) : storage(s), hasImaginary(s.complex && !drawOneIn(3)) {}

    /// From 0 .. kKinds-1 a non-zero value that the storage holds.
    static constexpr unsigned kKinds = 24;
    [[nodiscard]] Value of(unsigned kind) const
    {
        if (storage.classId == kxLOGICAL_CLASS) {
            return 1;
        }
        const double size = 1 + kind % 12;
        const double imaginary = hasImaginary && kind % 3 == 1 ? size - 6 : 0;
        const bool isSigned = convertElement(-1, storage.classId) < 0;
        return {isSigned && kind >= 12 ? -size : size, convertElement(imaginary, storage.classId)};
    }
};

/// Entries anywhere: about a third of a small matrix, a few of a large one.
void drawEntries(Model& a, const Values& values, bool explicitZeros)
{
    constexpr unsigned kEmpty = 2 * Values::kKinds;
    constexpr unsigned kFewElements = 64;
    constexpr unsigned kMany = 20;
    const auto store = [&](Place place, unsigned kind) {
        const bool zero = explicitZeros && kind % 11 == 10;
        a.entries[place] = zero ? Value(0) : values.of(kind % Values::kKinds);
    };
    if (a.numel() <= kFewElements) {
        const std::vector<unsigned> kinds = drawMany(a.numel(), kEmpty + Values::kKinds);
        for (std::size_t i = 0; i < kinds.size(); ++i) {
            if (kinds[i] >= kEmpty) {
                store(a.place(i), kinds[i] - kEmpty);
            }
        }
        return;
    }
    for (unsigned count = draw(kMany); count > 0; --count) {
        store({draw(a.n), draw(a.m)}, draw(Values::kKinds));
    }
}

void finish(Model& a)
{
    a.fit();
    if (drawOneIn(3)) {
        a.nzmax += 1 + draw(15);
    }
    a.hideClass = drawOneIn(8);
}

/// One column in three full or nearly so.
void drawDenseEntries(Model& a, const Values& values)
{
    for (unsigned j = 0; j < a.n; ++j) {
        const unsigned oneIn = 1 + draw(3);
        for (unsigned i = draw(4); i < a.m; i += oneIn) {
            a.entries[{j, i}] = values.of((i * 7 + j) % Values::kKinds);
        }
    }
}

} // namespace

Model drawModel(Storage storage, Shape shape, bool explicitZeros)
{
    Model a = Model::empty(storage, 0, 0);
    const Values values(storage);
    switch (shape) {
    case Shape::Small:
        a.m = drawOneIn(5) ? draw(2) : draw(8);
        a.n = drawOneIn(5) ? draw(2) : draw(8);
        break;
    case Shape::Tall:
        a.m = 100 + draw(2000);
        a.n = 1 + draw(4);
        break;
    case Shape::Dense:
        a.m = 20 + draw(100);
        a.n = 1 + draw(3);
        break;
    case Shape::AtLimit:
        const unsigned limit = drawFrom<unsigned>({0x7FFFFFFF, 0xFFFFFFFF});
        a.n = drawOneIn(20) ? 65535 + draw(3) : 1 + draw(6);
        const unsigned most = drawOneIn(3) || a.n > 6 ? limit / a.n : limit; // elements or rows are about so many
        a.m = most - draw(3);
        a.m += a.m < 0xFFFFFFF0U ? draw(4) : 0;
        for (unsigned corners = draw(4), j = 0; j < corners; ++j) { // where rows and positions end
            a.entries[{drawOneIn(2) ? a.n - 1 : 0, drawOneIn(2) ? a.m - 1 - draw(2) : draw(2)}] = values.of(draw(9));
        }
        break;
    }
    shape == Shape::Dense ? drawDenseEntries(a, values) : drawEntries(a, values, explicitZeros);
    finish(a);
    return a;
}

Model drawModel(Storage storage, bool explicitZeros)
{
    const Shape shape = drawFrom<Shape>({Shape::Small, Shape::Small, Shape::Small, Shape::Tall, Shape::Dense});
    return drawModel(storage, shape, explicitZeros);
}

Model drawModelOfSize(Storage storage, unsigned m, unsigned n, bool explicitZeros)
{
    Model a = Model::empty(storage, m, n);
    drawEntries(a, Values(storage), explicitZeros);
    finish(a);
    return a;
}

Model drawSelfSubscript()
{
    const Storage storage = drawOneIn(3) ? Storage{kxLOGICAL_CLASS, false} : drawStorage();
    const unsigned m = drawOneIn(3) ? 1 : draw(5);
    const unsigned n = drawOneIn(3) ? 1 : draw(5);
    Model a = drawModelOfSize(storage, m, n);
    if (storage.classId != kxLOGICAL_CLASS && !drawOneIn(3)) {
        const unsigned highest = drawOneIn(2) ? std::min(m, n) : m * n;
        for (unsigned p = 0; p < m * n; ++p) {
            a.entries[a.place(p)] = 1.0 + draw(highest);
        }
        a.storage.complex = false;
    }
    return a.fit();
}

Model drawUnmadeTarget(Storage storage)
{
    if (drawOneIn(2)) {
        return Model::unset();
    }
    const auto [m, n] = drawFrom<std::pair<unsigned, unsigned>>({{0, 0}, {0, 5}, {5, 0}});
    return emptyFull({storage.classId, false}, m, n);
}

namespace {

constexpr unsigned kMostDims = 4;

std::vector<Value> drawElements(std::uint64_t count, Storage storage, bool halves)
{
    const Values values(storage);
    std::vector<Value> elements;
    for (const unsigned kind : drawMany(count, Values::kKinds + 8)) {
        Value value = kind < 8 ? Value(0) : values.of(kind - 8);
        if (halves && kind % 5 == 4) {
            value += 0.5;
        }
        elements.push_back(value);
    }
    return elements;
}

/// More elements than a full right-hand side is drawn with, or none in too many columns once it is turned.
bool isVast(std::uint64_t m, std::uint64_t n)
{
    return std::max<std::uint64_t>(m, 1) * std::max<std::uint64_t>(n, 1) > 10000;
}

/// A full or sparse right-hand side of this shape.
RightSide drawShaped(const std::vector<unsigned>& dims)
{
    const Storage storage = drawStorage();
    if (dims.size() == 2 && (drawOneIn(2) || isVast(dims[0], dims[1]))) {
        return RightSide::of(drawModelOfSize(storage, dims[0], dims[1]));
    }
    const bool floating = storage.classId == kxDOUBLE_CLASS || storage.classId == kxSINGLE_CLASS;
    return RightSide::full(dims, drawElements(RightSide::full(dims, {}).numel(), storage, floating), storage);
}

RightSide drawScalar()
{
    return drawShaped(drawOneIn(8) ? std::vector<unsigned>{1, 1, 1} : std::vector<unsigned>{1, 1});
}

/// The shape with dimensions of 1 strewn in.
std::vector<unsigned> drawWidened(unsigned m, unsigned n)
{
    std::vector<unsigned> dims = {m, n};
    for (unsigned more = 1 + draw(2); more > 0 && dims.size() < kMostDims; --more) {
        dims.insert(dims.begin() + static_cast<std::ptrdiff_t>(draw(static_cast<unsigned>(dims.size()) + 1)), 1);
    }
    return dims;
}

RightSide drawMisfit(unsigned m, unsigned n)
{
    return drawOneIn(4) ? RightSide::literal(RightSide::Kind::ContainedLiteral)
                        : drawShaped(drawFrom<std::vector<unsigned>>({{n, m}, {draw(3), draw(4)}, {2, 2, 2}}));
}

} // namespace

RightSide drawRightSide(unsigned m, unsigned n)
{
    if (isVast(m, n)) {
        return drawOneIn(2) ? RightSide::scalar(0) : drawShaped({m, n});
    }
    switch (draw(8)) {
    case 0:
    case 1:
        return drawScalar();
    case 2:
        return drawShaped(drawWidened(m, n));
    case 3: // laid the other way where the region is a vector
        return m == 1 || n == 1 ? drawShaped({n, m}) : drawShaped({m, n});
    case 4:
        return drawMisfit(m, n);
    default:
        return drawShaped({m, n});
    }
}

RightSide drawRightSide(unsigned count)
{
    if (isVast(count, 1)) {
        return drawRightSide(count, 1);
    }
    const auto [m, n] = drawFrom<std::pair<unsigned, unsigned>>(
        {{1, count}, {count, 1}, count % 2 == 0 ? std::pair{2U, count / 2} : std::pair{1U, count}});
    return drawRightSide(m, n);
}

} // namespace zqsp::test
