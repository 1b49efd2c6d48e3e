#pragma once
// A lower library reaching up: the check must refuse this.
#include "high/High.h"
