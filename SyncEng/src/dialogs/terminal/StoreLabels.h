// Labels for the two stores of a question.
#pragma once
#include <string>

namespace mb {

struct StoreLabel {
    std::u16string place, shortPlace; // the short one is used in answers and sentences
};

struct StoreLabels {
    StoreLabel one, two;
};

// Labels each store with its place, or with its name if `database` is empty. The labels of the two stores always differ.
StoreLabels LabelStores(const std::u16string& name1, const std::u16string& database1, const std::u16string& name2,
                        const std::u16string& database2);

} // namespace mb
