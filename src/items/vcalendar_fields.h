// The fields of one event or task: properties into a calendar item.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "items/moment_text.h"
#include "items/vcalendar_moves.h"
#include "items/vcalendar_zone.h"
#include "support/vobject/decode.h"
#include "support/wall_clock.h"

namespace qv {

// Some phones tell the kind of an event, "X-EPOCAGENDAENTRYTYPE:ANNIVERSARY": whether one of that
// kind lies on days, whatever times it tells.
inline constexpr std::string_view kEntryTypeName = "X-EPOCAGENDAENTRYTYPE";
bool IsDayType(std::string_view type);

// What the names of properties mean.
enum class CalendarField : uint8_t {
  Extra,
  Dropped,
  Own,  // what is kept among the extras and is of no text, see vcalendar_moves.h
  Uid,
  OtherUid,
  Modified,
  Subject,
  Body,
  Location,
  Start,
  End,
  Due,
  Duration,
  AllDay,
  EventType,
  EntryType,
  Completed,
  Status,
  Priority,
  Sensitivity,
  Alarm,
  Rule,
  OtherRule,
  Recurring,
  Deletion,
  Occurrence,
  Parent,
  Entry,
};

// Of the dated entries of one item.
inline constexpr size_t kMostEntries = 100'000;

// What a field says of itself may depend on others behind it: when the reminder comes on the start,
// what a rule leaves out too. Such a property joins the extras in its place and leaves them at the
// end if it was understood. A field that holds one value keeps the first.
//
// What is an extra must not depend on the dialect: an item is written back in the old one and must
// read the same. Dates are therefore tokens, which come out alike in both.
class VCalendarFields {
 public:
  VCalendarFields(bool isTask, Dialect dialect, CalendarZones& zones);

  // A property, with its value as it stood.
  void Read(const Line& line);
  // A component inside, from its BEGIN line to the end of its END.
  void ReadNested(std::string_view header, std::string_view value);
  // More extras than any item has: it is none.
  bool isOverfull() const { return overfull_; }
  // A zone was named that is not known (yet).
  bool missedZone() const { return missedZone_; }
  // The item. Ends the reading.
  Calendar Take();

 private:
  // A moment of the text.
  struct Moment {
    DATE utc = 0.0;
    DATE own = 0.0;  // by the clock of the text: of the zone that it names, or UTC; of a date alone
                     // its midnight
    bool isDate = false;
    bool isUtc = false;
    bool isZoned = false;  // of the zone that its line names
  };
  // An EXDATE's date.
  struct Deleted {
    size_t extra = 0;
    Moment moment;
  };
  // A property that waits among the extras.
  struct Waiting {
    size_t extra = 0;
    Moment moment;
    std::string value;
    std::u16string uid;
    bool isRule = false;      // RRULE
    bool isMoreDays = false;  // RDATE; what is neither takes days away
    // More than can be told: a RECURRENCE-ID of more than one occurrence, an RRULE by the days of a
    // zone of its own.
    bool saysMore = false;
  };
  bool ReadField(CalendarField field, const Line& line);
  bool ReadText(const Line& line, std::u16string& text);
  bool ReadUid(const Line& line, std::u16string& uid);
  bool ReadModified(const Line& line);
  bool ReadMoment(const Line& line, std::optional<Moment>& moment);
  bool ReadAllDay(const Line& line, std::string_view yes);
  bool ReadEntryType(const Line& line);
  bool ReadStatus(const Line& line);
  bool ReadPriority(const Line& line);
  bool ReadSensitivity(const Line& line);
  bool ReadCompleted(const Line& line);
  bool ReadRecurring(const Line& line);
  bool ReadEntry(const Line& line);
  bool Wait(const Line& line, std::vector<Waiting>& list, bool isRule = false);
  bool WaitForDeletions(const Line& line);
  bool WaitForEnd(const Line& line);
  bool WaitForAlarm(const Line& line);

  std::optional<std::string_view> TokenOf(const Line& line);
  std::optional<Moment> MomentOf(const Line& line, std::string_view text);
  const WallClock& LocalClock();
  DATE LocalOf(const Moment& moment);
  // By the clock of the start, which may be that of a zone.
  DATE ToUtc(DATE own);
  static DATE DayMeant(const Moment& moment);
  static DATE DayBehind(const Moment& moment);

  void KeepExtra(ExtraProperty extra);
  void Understood(size_t extra) { understood_.push_back(extra); }
  void FinishUid();
  void FinishTimes();
  void FinishDays();
  void FinishDuration();
  void FinishSeries();
  void FinishRules();
  void FinishDeletions();
  void FinishReminder();
  std::optional<int64_t> LeadOf(const ExtraProperty& extra, const ItemPlace& place);
  void FinishStatus();
  void FinishMoves();
  void DropUnderstood();
  // What the reminder and the rules count from.
  DATE Beginning() const;
  DATE LocalBeginning() { return item_.allDay ? Beginning() : LocalClock().FromUtc(Beginning()); }

  Dialect dialect_;
  CalendarZones& zones_;
  std::optional<WallClock> clock_;  // most texts never ask
  ValueDecoder decoder_;
  Calendar item_;
  std::optional<Moment> start_;
  std::optional<Moment> end_;
  std::optional<Moment> due_;
  std::string startZone_;                           // as the text names it
  std::optional<CalendarZones::Clock> startClock_;  // of that zone, if anybody knows it
  size_t endExtra_ = 0;                             // of a task's DTEND, which waits for a DUE
  bool endWaits_ = false;
  bool statusRead_ = false;
  bool priorityRead_ = false;
  bool sensitivityRead_ = false;
  bool allDay_ = false;
  bool isDayType_ = false;  // its kind lies on days
  bool recurs_ = false;
  std::vector<Waiting> otherUids_;
  std::vector<Waiting> durations_;
  std::vector<Waiting> parents_;
  std::vector<Waiting> occurrences_;  // RECURRENCE-ID
  std::vector<Waiting> rules_;
  std::vector<Deleted> deletions_;  // EXDATE
  std::vector<size_t> alarms_;      // extras that may be reminders
  std::vector<size_t> statusExtras_;
  std::vector<size_t> understood_;
  bool overfull_ = false;
  bool missedZone_ = false;
};

}  // namespace qv
