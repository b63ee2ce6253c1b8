// Which methods calls take, for who measures them.
#ifndef ZQSP_CORE_NOTE_METHOD_HPP
#define ZQSP_CORE_NOTE_METHOD_HPP

namespace zqsp {

enum class LookupMethod;
enum class RowMethod;
enum class DeletionMethod;

/// Nothing in the library (note_method.cpp), where no call is left of it; the one that benchmarks link has
/// bench/methods.cpp in its place.
void noteMethod(LookupMethod method);
void noteMethod(RowMethod method);
void noteMethod(DeletionMethod method);

} // namespace zqsp

#endif
