#include "core/mSHAREDCollections.h"

#include <algorithm>

namespace corva {

void sortsimplecollection(std::vector<std::string>& collection) {
    std::sort(collection.begin(), collection.end());
}

} // namespace corva
