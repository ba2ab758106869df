#pragma once

namespace calendarapp {

// The store keeps three priority levels and "none", written as the numbers three-level
// iCalendar clients use: 1 high, 5 medium, 9 low, 0 none. Other programs may write any
// number from 0 to 9; they are read by the ranges iCalendar itself assigns to the levels.
class ToDoPriority {
public:
    static constexpr int kNone = 0;
    static constexpr int kHigh = 1;
    static constexpr int kMedium = 5;
    static constexpr int kLow = 9;

    // 1-4 high, 5 medium, 6-9 low; 0 and anything outside 0-9 (not a priority at all) none.
    static int normalised(int iCalendarPriority);
    static bool isValid(int iCalendarPriority) { return iCalendarPriority >= 0 && iCalendarPriority <= 9; }
};

} // namespace calendarapp
