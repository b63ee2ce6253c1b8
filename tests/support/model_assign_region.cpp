#include "support/model_operations.hpp"

#include <algorithm>
#include <map>

namespace zqsp::test {

namespace {

/// The region a right-hand side is laid into.
struct Region
{
    std::uint64_t m;
    std::uint64_t n;
};

/// Whether B fits; where told, the region first takes its rows or columns from B.
bool fits(Region& region, const RightSide& b, bool rowsFollow, bool columnsFollow)
{
    const std::uint64_t mB = b.m();
    const std::uint64_t nB = b.n();
    if (rowsFollow) {
        region.m = mB == 1 && region.n == 1 ? nB : mB;
    }
    if (columnsFollow) {
        region.n = nB == 1 && region.m == 1 ? mB : nB;
    }
    const bool vectors = (region.m == 1 || region.n == 1) && (mB == 1 || nB == 1);
    return b.isScalar() || (region.m == mB && region.n == nB) || (vectors && region.m * region.n == mB * nB) ||
           (region.m * region.n == 0 && mB * nB == 0);
}

/// The rows or columns that a subscript names; all of them are not listed, as there may be very many.
class Lines
{
  public:
    explicit Lines(std::uint64_t all) : every_(true), count_(all) {}
    Lines(const Subscript& s, unsigned extent) : every_(s.form == Form::Colon), count_(extent)
    {
        if (!every_) {
            positions_ = convert(s, extent, Purpose::Assignment);
            count_ = positions_.size();
            for (unsigned k = 0; k < positions_.size(); ++k) {
                last_[at(k)] = k;
            }
        }
    }

    [[nodiscard]] std::uint64_t size() const { return count_; }
    [[nodiscard]] bool empty() const { return count_ == 0; }
    [[nodiscard]] unsigned at(std::uint64_t k) const { return static_cast<unsigned>(every_ ? k : positions_[k]); }
    [[nodiscard]] bool contains(unsigned line) const { return every_ ? line < count_ : last_.contains(line); }
    /// Whether no later one is the same.
    [[nodiscard]] bool isLast(unsigned k) const { return every_ || last_.at(at(k)) == k; }
    /// 0 where there is none.
    [[nodiscard]] unsigned highest() const
    {
        return empty() ? 0 : every_ ? static_cast<unsigned>(count_ - 1) : last_.rbegin()->first;
    }

  private:
    bool every_;
    std::uint64_t count_;
    Positions positions_;
    std::map<unsigned, unsigned> last_;
};

/// Grows the columns to cover `column`.
void growColumns(Model& a, unsigned column)
{
    if (column >= a.n && column > (kxGetMaxNumberOfElements() - 2) / 4) {
        throw Failure(kMaxSizeError);
    }
    a.n = std::max(a.n, column + 1);
}

/// An empty matrix in place of a target that is not sparse yet.
Model fresh(Storage storage, unsigned m, unsigned n, unsigned nzmax)
{
    return withCapacity(Model::empty(storage, m, n), nzmax);
}

Value scalarOf(const RightSide& b)
{
    return b.elements().at(0);
}

/// Replaces rows x columns of A by B's stored entries, those of later repeats last. A scalar fills the region when it
/// is not zero. The capacity grows to just the entries there are.
void writeRegion(Model& a, const Lines& rows, const Lines& columns, const RightSide& b)
{
    std::erase_if(a.entries, [&](const auto& entry) {
        return columns.contains(entry.first.column) && rows.contains(entry.first.row);
    });
    const Model source = b.asSparse();
    if (b.isScalar() && scalarOf(b) != 0.0) {
        for (unsigned c = 0; c < columns.size(); ++c) {
            for (unsigned r = 0; r < rows.size(); ++r) {
                a.entries[{columns.at(c), rows.at(r)}] = scalarOf(b);
            }
        }
    } else if (!b.isScalar()) {
        for (const auto& [place, value] : source.entries) {
            // Vectors are laid along the region, whichever way they lie.
            const auto c = static_cast<unsigned>(source.linear(place) / rows.size());
            const auto r = static_cast<unsigned>(source.linear(place) % rows.size());
            if (columns.isLast(c) && rows.isLast(r)) {
                a.entries[{columns.at(c), rows.at(r)}] = value;
            }
        }
    }
    a.storage.complex = a.storage.complex || b.storage().complex;
    a.fit();
}

/// No column or no row is named.
Model writeNothing(const Model& a, const RightSide& b)
{
    if (b.numel() > 1) {
        throw Failure(spAssignDimMismatch);
    }
    return a.isUnset() ? fresh({b.storage().classId, false}, 0, 0, 1) : a;
}

/// A(:,J) = B, or A(I,:) = B, once B is of the target's class.
Model writeLines(const Model& a, const RightSide& b, const Subscript& s, bool columns)
{
    const Lines lines(s, columns ? a.n : a.m);
    if (lines.empty()) {
        return writeNothing(a, b);
    }
    const bool follows = a.isEmpty() && a.m == a.n && b.numel() > 0;
    Region region = columns ? Region{a.m, lines.size()} : Region{lines.size(), a.n};
    if (!fits(region, b, columns && follows, !columns && follows)) {
        throw Failure(spAssignDimMismatch);
    }
    const unsigned last = lines.highest();
    Model result = a;
    if (a.isUnset() && columns) {
        const std::uint64_t nnz = b.kind == RightSide::Kind::Sparse ? b.model.nnz() : 1;
        const std::uint64_t nzmax = b.isScalar() ? nnz * region.n : nnz;
        result = fresh(b.storage(), 0, last + 1, static_cast<unsigned>(nzmax));
    } else if (a.isUnset()) {
        result = fresh(b.storage(), a.m, 0, 0);
    }
    if (columns) {
        growColumns(result, last);
        result.m = static_cast<unsigned>(region.m);
        writeRegion(result, Lines(region.m), lines, b);
    } else {
        result.m = std::max(a.m, last + 1);
        result.n = static_cast<unsigned>(region.n);
        writeRegion(result, lines, Lines(region.n), b);
    }
    return result;
}

Model assignLines(const Model& a, RightSide b, const Subscript& s, bool columns)
{
    b = b.squeezed();
    if (!b.isScalar()) {
        b = RightSide::of(b.asSparse());
    }
    const bool classless = a.storage.classId == kxUNKNOWN_CLASS;
    Model result = b.asSparse();
    if (classless && s.form == Form::Colon) { // the target takes B whole
        result.sparse = b.kind == RightSide::Kind::Sparse;
        result.nzmax = Model::kAnyCapacity;
    } else {
        result = writeLines(a, classless ? b : b.converted(a.storage.classId), s, columns);
    }
    return withoutImagZeros(result);
}

/// Whether A(i,j) = B takes the short way for this subscript: one number of a class that may be complex.
bool isOneNumber(const Subscript& s)
{
    const bool one =
        s.form == Form::SparseNumeric ? s.storedCount() == 1 : s.form == Form::Numeric && s.values.size() == 1;
    return one && isNumeric(s.classId) && !s.complex;
}

unsigned oneIndex(const Subscript& s)
{
    checkIndex(s.values[0]);
    return static_cast<unsigned>(s.values[0]) - 1;
}

/// Stores or removes one element; a full matrix grows by ten entries.
void writeOne(Model& a, Place place, const RightSide& b)
{
    growColumns(a, place.column);
    a.m = std::max(a.m, place.row + 1);
    const Value value = scalarOf(b);
    if (value == 0.0) {
        a.entries.erase(place);
        return;
    }
    if (!a.entries.contains(place) && a.nnz() == a.nzmax) {
        a.nzmax += 10;
    }
    a.entries[place] = value;
    a.storage.complex = a.storage.complex || b.storage().complex;
}

/// Several columns of a matrix of moderate height are written with a table of their entries, which the maximum bounds.
void checkTable(const Model& result, const Lines& columns)
{
    const unsigned max = kxGetMaxNumberOfElements();
    if (result.m > 0x200000 || columns.size() < 2) {
        return;
    }
    std::uint64_t entries = 0;
    for (const auto& [column, count] : result.columnCounts()) {
        entries += columns.contains(column) ? count : 0;
    }
    const std::size_t bytes = std::max<std::size_t>(elementSizeOf(result.storage.classId), 4);
    if (columns.size() > max / 4 || entries > max / bytes) {
        throw Failure(kMaxSizeError);
    }
}

/// The subscripts name rows and columns: B goes into the region they span.
Model writeGeneral(const Model& a, const RightSide& b, const Lines& rows, const Lines& columns)
{
    const unsigned m = std::max(a.m, rows.highest() + 1);
    const unsigned column = columns.highest();
    const bool zeroScalar = b.isScalar() && scalarOf(b) == 0.0;
    const bool one = rows.size() == 1 && columns.size() == 1;
    Model result = a.isUnset() ? fresh(b.storage(), m, column + 1, zeroScalar || one ? 1 : 0) : a;
    growColumns(result, column);
    result.m = m;
    if (one && !zeroScalar) {
        writeOne(result, {column, rows.highest()}, b);
    } else {
        writeRegion(result, rows, columns, b);
        if (!zeroScalar) {
            checkTable(result, columns);
        }
    }
    return result;
}

/// One of the subscripts names nothing: only the size may grow.
Model growGeneral(const Model& a, const RightSide& b, const Lines& rows, const Lines& columns)
{
    const unsigned m = rows.empty() ? a.m : std::max(a.m, rows.highest() + 1);
    const unsigned n = columns.empty() ? 0 : columns.highest() + 1;
    if (a.isUnset()) {
        return fresh({b.storage().classId, false}, m, n, 1);
    }
    Model result = a;
    result.m = m;
    if (!columns.empty()) {
        growColumns(result, columns.highest());
    }
    return result;
}

} // namespace

Model assignColumns(const Model& a, const RightSide& b, const Subscript& j)
{
    return b.isDeletion() ? withoutImagZeros(deleteColumns(a, j)) : assignLines(a, b, j, true);
}

Model assignRows(const Model& a, const RightSide& b, const Subscript& i)
{
    return b.isDeletion() ? withoutImagZeros(deleteRows(a, i)) : assignLines(a, b, i, false);
}

Model assignGeneral(const Model& a, const RightSide& original, const Subscript& i, const Subscript& j)
{
    const kxClassID id = a.storage.classId;
    Model result;
    if (id == kxUNKNOWN_CLASS && i.form == Form::Colon && j.form == Form::Colon) {
        result = original.asSparse();
        result.sparse = original.kind == RightSide::Kind::Sparse;
        result.nzmax = result.sparse ? original.model.nzmax : Model::kAnyCapacity;
        return withoutImagZeros(result);
    }
    RightSide b = original.isDeletion() || id == kxUNKNOWN_CLASS ? original : original.converted(id);
    b = b.squeezed();
    const spStatus mismatch = b.isLiteral() ? spEmptyAssignDisallowed : spAssignDimMismatch;
    if (isOneNumber(i) && isOneNumber(j)) {
        if (!b.isScalar()) {
            throw Failure(mismatch);
        }
        const unsigned row = oneIndex(i);
        const unsigned column = oneIndex(j);
        result = a.isUnset() ? fresh(b.storage(), row + 1, column + 1, 1) : a;
        writeOne(result, {column, row}, b);
    } else {
        const Lines rows(i, a.m);
        const Lines columns(j, a.n);
        Region region{rows.size(), columns.size()};
        if (!fits(region, b, false, false)) {
            throw Failure(mismatch);
        }
        const bool none = rows.empty() || columns.empty();
        result = (none ? growGeneral : writeGeneral)(a, b, rows, columns);
    }
    return withoutImagZeros(result);
}

} // namespace zqsp::test
