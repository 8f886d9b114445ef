// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/serialization/VectorBase.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

namespace Ostrel {

/// A list that can travel: the vector itself, written as a JSON array of its elements.
///
/// T is std::string, unsigned char (written as a number), or a record. Like any vector it takes
/// one thread at a time, or several that only read.
template <typename T> class OSTREL_API VectorObject : public VectorBase, public std::vector<T> {
public:
    using std::vector<T>::vector;

    /// Makes a copy for the caller to delete.
    VectorObject<T>* clone() const override { return new VectorObject<T>(*this); }

    using VectorBase::serialize;
    /// Writes the elements, each under an empty key.
    void serialize(Serializer& serializer) const override {
        if constexpr (std::is_same_v<T, std::string>) {
            // Growing a long text costs more than writing it.
            std::size_t size = 0;
            for (const std::string& element : *this)
                size += element.size() + element.size() / 8 + quotesAndComma;
            serializer.expectMore(size);
        }
        const std::string noKey;
        for (const T& element : *this) {
            if constexpr (std::is_same_v<T, std::string>) {
                Ostrel::serialize("", element, serializer);
            } else if constexpr (std::is_same_v<T, unsigned char>) {
                Ostrel::serialize("", static_cast<int>(element), serializer);
            } else {
                const auto begin = serializer.getSize();
                element.serialize(noKey, serializer);
                if (&element == this->data()) // the others are as long, more or less
                    serializer.expectMore(
                        std::min(mostExpected, (serializer.getSize() - begin) * this->size()));
            }
        }
    }

private:
    static constexpr std::size_t quotesAndComma = 3; ///< bytes around an element
    static constexpr std::size_t mostExpected =
        65536; ///< bytes of records: a first one may be unlike the others
};

} // namespace Ostrel
