// Only a place to precompile the headers in.
#include "support/precompiled.h"
