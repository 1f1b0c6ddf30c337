// The identifiers of the merge window and its controls.
#pragma once

#define MERGE_DIALOG 401
#define MERGE_LIST 402
#define MERGE_LABEL 403
#define MERGE_VALUE 404
#define MERGE_TAKE_1 405
#define MERGE_TAKE_2 406
#define MERGE_ALL_1 407
#define MERGE_ALL_2 408
