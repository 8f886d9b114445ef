// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

#include <algorithm>
#include <vector>

namespace Ostrel {

/// Hears of something; what, its derived interfaces say.
class OSTREL_API IListener {
public:
    virtual ~IListener() = default;
};

/// Keeps listeners, which it does not own: each must be removed before it goes away. Which
/// threads may call, and when, its implementations say.
class OSTREL_API IObservable {
public:
    virtual void addListener(IListener* listener) = 0;
    virtual void removeListener(IListener* listener) = 0;
    virtual ~IObservable() = default;
};

/// Appends a listener that is a T and not in the list yet. Returns whether it did. Null is no T.
/// The caller keeps other threads away from the list.
template <typename T> bool addListener(std::vector<T*>& list, IListener* listener) {
    T* const wanted = dynamic_cast<T*>(listener);
    if (wanted == nullptr || std::find(list.begin(), list.end(), wanted) != list.end())
        return false;
    list.push_back(wanted);
    return true;
}

/// Erases a listener from the list and keeps the others' order. Returns whether it was there.
/// The caller keeps other threads away from the list.
template <typename T> bool removeListener(std::vector<T*>& list, IListener* listener) {
    T* const unwanted = dynamic_cast<T*>(listener);
    const auto found = std::find(list.begin(), list.end(), unwanted);
    if (unwanted == nullptr || found == list.end())
        return false;
    list.erase(found);
    return true;
}

} // namespace Ostrel
