#pragma once
#include "low/Low.h"
