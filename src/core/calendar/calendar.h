// All calendar values in one include.
#pragma once

#include "core/calendar/calendar_grid.h"
#include "core/calendar/clock_time.h"
#include "core/calendar/day_date.h"
#include "core/calendar/periods.h"
