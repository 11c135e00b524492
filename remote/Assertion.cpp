#include "Assertion.h"

#include <QtGlobal>

namespace vantrel {

void assertThat(bool holds, const char* condition, const CodePlace& place) {
    if (!holds) {
        qFatal("*** Assertion failure in %s, %s: %s", place.function, place.file, condition);
    }
}

} // namespace vantrel
