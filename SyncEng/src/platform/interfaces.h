// Includes the header generated from SyncEngLib.idl after the definitions that it needs.
#pragma once
#include "com.h"
//
#include "SyncEngLib.h"
