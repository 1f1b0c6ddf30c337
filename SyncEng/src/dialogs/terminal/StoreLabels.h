// Both stores of a question by their places.
#pragma once
#include <string>

namespace mb {

struct StoreLabel {
    std::u16string place, shortPlace; // the short one stands in answers and sentences
};

struct StoreLabels {
    StoreLabel one, two;
};

// A store whose database has no name is told by its own name, which is that of its kind. The labels of the two stores always differ.
StoreLabels LabelStores(const std::u16string& name1, const std::u16string& database1, const std::u16string& name2,
                        const std::u16string& database2);

} // namespace mb
