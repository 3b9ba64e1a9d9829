# The items that scripts/bench works on, the same ones in every run. Sourced.

# cards COUNT FOLDER: one card a file, some 500 bytes each, a third with letters beyond ASCII.
cards() {
  mkdir -p "$2"
  awk -v count="$1" -v folder="$2" 'BEGIN {
    for (i = 1; i <= count; ++i) {
      file = folder "/card-" i ".vcf"
      family = i % 3 ? "Muster" i : "M=C3=BCller" i
      charset = i % 3 ? "" : ";CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE"
      printf "BEGIN:VCARD\r\nVERSION:2.1\r\nUID:card-%d@example.org\r\n", i > file
      printf "REV:20240101T%02d%02d%02dZ\r\n", i / 3600 % 24, i / 60 % 60, i % 60 > file
      printf "N%s:%s;Anna;Maria;Dr.;\r\nFN%s:Anna %s\r\n", charset, family, charset, family > file
      printf "TEL;CELL:+49 170 %07d\r\nTEL;HOME;VOICE:+49 30 %07d\r\nTEL;WORK;VOICE:+49 40 %07d\r\n", i, i, i > file
      printf "EMAIL;INTERNET;HOME:anna%d@example.org\r\nEMAIL;INTERNET;WORK:a.muster%d@company.example\r\n", i, i > file
      printf "ADR;HOME:;;Teststrasse %d;Berlin;;10115;Germany\r\nORG;WORK:Company %d;Sales\r\nTITLE:Manager\r\n", i % 200, i % 50 > file
      printf "URL:https://www.example.org/people/%d\r\nBDAY:19800101\r\nNOTE:Met at the fair in hall %d\r\nEND:VCARD\r\n", i, i % 20 > file
      close(file)
    }
  }'
}

# sheet COUNT: the same people as a table, with the headings of a mail program.
sheet() {
  awk -v count="$1" 'BEGIN {
    printf "\xEF\xBB\xBFTitle,First Name,Middle Name,Last Name,Mobile Phone,Home Phone,Business Phone,"
    printf "E-mail Address,E-mail 2 Address,Home Street,Home City,Home Postal Code,Home Country,"
    printf "Company,Department,Job Title,Web Page,Birthday,Notes\r\n"
    for (i = 1; i <= count; ++i) {
      printf "Dr.,Anna,Maria,%s%d,", i % 3 ? "Muster" : "M\303\274ller", i
      printf "+49 170 %07d,+49 30 %07d,+49 40 %07d,anna%d@example.org,a.muster%d@company.example,", i, i, i, i, i
      printf "Teststrasse %d,Berlin,10115,Germany,Company %d,Sales,Manager,", i % 200, i % 50
      printf "https://www.example.org/people/%d,1980-01-01,\"Met at the fair, in hall %d\"\r\n", i, i % 20
    }
  }'
}

# events COUNT FOLDER: one item a file: of twenty, one is a weekly series, four are exceptions of it
# and the others stand alone.
events() {
  mkdir -p "$2"
  awk -v count="$1" -v folder="$2" 'BEGIN {
    for (i = 1; i <= count; ++i) {
      file = folder "/event-" i ".vcs"
      series = i - (i - 1) % 20
      place = (i - 1) % 20
      printf "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nUID:event-%d@example.org\r\n", i > file
      printf "LAST-MODIFIED:20240101T%02d%02d%02dZ\r\n", i / 3600 % 24, i / 60 % 60, i % 60 > file
      printf "SUMMARY:Meeting %d of the whole team\r\nDESCRIPTION:Agenda: the last week, the next week, open points of project %d\r\n", i, i % 50 > file
      printf "LOCATION:Room %d\r\n", i % 20 > file
      if (place == 0) {
        printf "DTSTART:20240101T0900%02dZ\r\nDTEND:20240101T100000Z\r\nRRULE:W1 MO #100\r\n", i / 20 % 60 > file
      } else if (place <= 4) {
        printf "DTSTART:202401%02dT110000Z\r\nDTEND:202401%02dT120000Z\r\n", 1 + 7 * place, 1 + 7 * place > file
        printf "X-PARENT-UID:event-%d@example.org\r\nX-RECUR-ENTRY:2;202401%02dT0900%02dZ\r\n", series, 1 + 7 * place, series / 20 % 60 > file
      } else {
        printf "DTSTART:2024%02d%02dT%02d0000Z\r\nDTEND:2024%02d%02dT%02d3000Z\r\n", 1 + i % 12, 1 + i % 28, i % 24, 1 + i % 12, 1 + i % 28, i % 24 > file
      }
      printf "AALARM:20240101T084500Z\r\nPRIORITY:1\r\nCATEGORIES:MEETING\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n" > file
      close(file)
    }
  }'
}
