// A weekly series over the days on which clocks change, in both halves of the world, and
// exceptions of it.
#pragma once

#include <string>

namespace qv::test {

inline constexpr const char* kSeriesZones[] = {
    "UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "AEST-10AEDT,M10.1.0,M4.1.0/3", "EST5EDT,M3.2.0,M11.1.0"};

inline std::string Event(const std::string& lines) {
  return "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\n" + lines +
         "END:VEVENT\r\nEND:VCALENDAR\r\n";
}

inline std::string Series(const std::string& name, const std::string& uid = {},
                          const std::string& more = {}) {
  return Event((uid.empty() ? "" : "UID:" + uid + "\r\n") + "SUMMARY:" + name +
               "\r\nDTSTART:20240310T150000Z\r\nDTEND:20240310T160000Z\r\n"
               "RRULE:W1 SU #8\r\n" +
               more);
}

inline std::string Exception(const std::string& name, const std::string& occurrence,
                             const std::string& uid = {}, const std::string& series = {}) {
  return Event((uid.empty() ? "" : "UID:" + uid + "\r\n") + "SUMMARY:" + name +
               "\r\nDTSTART:" + occurrence.substr(0, 9) +
               "173000Z\r\nDTEND:" + occurrence.substr(0, 9) + "180000Z\r\nX-RECUR-ENTRY:2;" +
               occurrence + "\r\n" + (series.empty() ? "" : "X-PARENT-UID:" + series + "\r\n"));
}

}  // namespace qv::test
