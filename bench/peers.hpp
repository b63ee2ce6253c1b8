// What several peers need: values of their types, masks and lists as their users hold them.
#ifndef ZQSP_BENCH_PEERS_HPP
#define ZQSP_BENCH_PEERS_HPP

#include "contender.hpp"

#include <complex>
#include <memory>
#include <type_traits>

namespace zqsp::bench {

using List = std::vector<unsigned>;

/// The side of the row's type of values.
template <template <typename> typename PeerSide>
ContenderOwner makePeer(std::shared_ptr<const Problem> problem)
{
    switch (problem->row.values) {
    case Values::complex:
        return std::make_unique<PeerSide<std::complex<double>>>(std::move(problem));
    case Values::logical:
        return std::make_unique<PeerSide<unsigned char>>(std::move(problem));
    case Values::real:
        break;
    }
    return std::make_unique<PeerSide<double>>(std::move(problem));
}

template <typename S>
S valueAt(const Matrix& matrix, std::size_t entry)
{
    if constexpr (std::is_same_v<S, std::complex<double>>) {
        return {matrix.re[entry], matrix.im[entry]};
    } else {
        return static_cast<S>(matrix.re[entry]);
    }
}

/// One byte per value of the extent; empty for other forms.
inline std::vector<char> maskOf(const Subscript& subscript)
{
    if (subscript.form != Subscript::Form::mask) {
        return {};
    }
    std::vector<char> mask(subscript.extent);
    for (const unsigned value : subscript.values) {
        mask[value] = 1;
    }
    return mask;
}

/// Sets `values` to what the mask selects; leaves them be for an empty mask.
inline void findSelected(const std::vector<char>& mask, List& values)
{
    if (mask.empty()) {
        return;
    }
    values.clear();
    for (std::size_t v = 0; v < mask.size(); ++v) {
        if (mask[v] != 0) {
            values.push_back(static_cast<unsigned>(v));
        }
    }
}

/// For each value of the extent its place in the list, the last one where it repeats; -1 where it is not there.
inline std::vector<int> placesOf(const List& values, std::size_t extent)
{
    std::vector<int> places(extent, -1);
    for (std::size_t k = 0; k < values.size(); ++k) {
        places[values[k]] = static_cast<int>(k);
    }
    return places;
}

/// The values of the extent that are not in the list, ascending.
inline List othersOf(const List& values, std::size_t extent)
{
    const std::vector<int> places = placesOf(values, extent);
    List others;
    others.reserve(places.size() - values.size());
    for (std::size_t v = 0; v < places.size(); ++v) {
        if (places[v] < 0) {
            others.push_back(static_cast<unsigned>(v));
        }
    }
    return others;
}

} // namespace zqsp::bench

#endif
