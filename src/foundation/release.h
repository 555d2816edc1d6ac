// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// Deleter of a `std::unique_ptr` for an object of a C library: calls `release(object)`.
template <auto release>
struct Release {
    template <class Object>
    void operator()(Object* object) const {
        release(object);
    }
};

/// The same for functions that take the address of the pointer: calls `release(&object)`.
template <auto release>
struct ReleaseByAddress {
    template <class Object>
    void operator()(Object* object) const {
        release(&object);
    }
};

} // namespace zelvane
