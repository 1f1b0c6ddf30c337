// Pictures that are lines of details: they obey the image option and the map's pairs of image fields, and are one picture with the image
// field of their kind.
#pragma once
#include "engine/details/MergeDetails.h"
#include "engine/SidePlan.h"

namespace mb {

// Both kinds.
const std::vector<PictureKind>& PictureKinds(PipelinePass& pass);
// The type of the image field of a property; 0 for a property that is no picture.
LONG imageTypeOf(std::u16string_view property) noexcept;
// The properties whose lines stay home in this run. `text`: of the record that is asked about.
std::vector<std::u16string_view> PicturesAtHome(PipelinePass& pass, std::u16string_view text);

// What the merge of two records has to know of the pictures in `own` and `other`, their details; nullopt where a store cannot tell.
// `waiting`: as in SourceWinsDetails; `firstMeeting`: the history has no base. The records need not be open; `sourceOpen`: the source's is.
std::optional<std::vector<DetailsPicture>> ReadPictures(PipelinePass& pass, Side source, const PlanItem& item, const PlanItem* waiting,
                                                        std::u16string_view own, std::u16string_view other, bool firstMeeting,
                                                        bool sourceOpen);
// The same for a record that is going to be created.
std::vector<DetailsPicture> PicturesOfNew(PipelinePass& pass, std::u16string_view own);

} // namespace mb
