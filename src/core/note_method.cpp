#include "core/note_method.hpp"

namespace zqsp {

void noteMethod(LookupMethod /*method*/) {}
void noteMethod(RowMethod /*method*/) {}
void noteMethod(DeletionMethod /*method*/) {}

} // namespace zqsp
