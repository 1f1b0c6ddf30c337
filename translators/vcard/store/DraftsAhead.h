// Files in the making for cards that are added one after the other: while they are written into some, a second thread opens the next. Those
// that nobody takes vanish with this object.
#pragma once
#include "Folder.h"

#include <future>
#include <memory>
#include <vector>

namespace mb::vcard {

class DraftsAhead {
public:
    explicit DraftsAhead(const Folder& folder) : folder_(folder) {}

    // One that is open, or else a new one: nothing is waited for. Throws a FileError where none can be made.
    std::unique_ptr<Folder::Draft> take();

private:
    using Drafts = std::vector<std::unique_ptr<Folder::Draft>>;

    const Folder& folder_;
    Drafts ready_;
    std::future<Drafts> next_;
};

} // namespace mb::vcard
