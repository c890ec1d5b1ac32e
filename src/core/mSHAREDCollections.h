// Helpers over simple collections of texts.
#pragma once

#include <string>
#include <vector>

namespace corva {

void sortsimplecollection(std::vector<std::string>& collection);
template <class C> void emptycollection(C& collection) {
    collection.clear();
}

} // namespace corva
