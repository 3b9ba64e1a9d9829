// Texts and store classes that several suites use.
#pragma once

#include "kit/store_stack.h"

namespace qv::test {

// A small card; `which` tells people apart, a null uid or time leaves the line out.
std::string Card(int which, const char* uid, const char* modified);

// The same for an appointment of an hour, a task, a note.
std::string Event(int which, const char* uid, const char* modified);
std::string Task(int which, const char* uid, const char* modified);
std::string VNote(int which, const char* uid, const char* modified);

inline constexpr StoreSample kContactSample = {
    "Contact", u"DataStoreContact",       u"DataStore.Contact", u"text/x-vCard",
    olContact, u"Contact_BackupStatusDB", u"contact_id",        Card,
};
inline constexpr StoreSample kCalendarSample = {
    "Calendar",    u"DataStoreCalendar",       u"DataStore.Schedule", u"text/x-vCalendar",
    olAppointment, u"Calendar_BackupStatusDB", u"calendar_id",        Event,
};
inline constexpr StoreSample kTaskSample = {
    "Task", u"DataStoreTodo",       u"DataStore.Task", u"text/x-vCalendar",
    olTask, u"Task_BackupStatusDB", u"task_id",        Task,
};
inline constexpr StoreSample kNoteSample = {
    "Note", u"DataStoreNote",       u"DataStore.Note", u"text/vnote",
    olNote, u"Note_BackupStatusDB", u"note_id",        VNote,
};

}  // namespace qv::test
