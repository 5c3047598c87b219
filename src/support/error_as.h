// SPDX-License-Identifier: MIT
#pragma once

#include <exception>

namespace velmora
{

/// The exception in `failure` if it is of this type, else nullptr. Valid as long as `failure` lives.
template <typename Exception>
[[nodiscard]] const Exception *errorAs(const std::exception_ptr &failure)
{
    try {
        if (failure)
            std::rethrow_exception(failure);
    } catch (const Exception &exception) {
        // Not a copy: this is the object that `failure` refers to.
        return &exception;
    } catch (...) {
    }
    return nullptr;
}

} // namespace velmora
