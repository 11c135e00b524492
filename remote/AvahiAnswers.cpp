#include "remote/AvahiAnswers.h"

#include "base/MessageValues.h"

namespace vantrel {

std::optional<int> avahiStateOf(const QVariantList& arguments) { return argument<int>(arguments, 0); }

std::optional<QString> avahiNameOf(const QVariantList& arguments) {
    const auto name = argument<QString>(arguments, 0);
    return name && !name->isEmpty() ? name : std::nullopt;
}

} // namespace vantrel
