// The interfaces of SyncEngLib.idl, behind the component vocabulary that the generated header needs in front of it.
#pragma once
#include "com.h"
//
#include "SyncEngLib.h"
