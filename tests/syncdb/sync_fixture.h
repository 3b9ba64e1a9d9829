// A sync database that records, and the services that its rows are made with.
#pragma once

#include <gtest/gtest.h>

#include "kit/accessor_fakes.h"
#include "kit/platform_fakes.h"
#include "platform/com/lists.h"
#include "syncdb/sync_session.h"

namespace qv::test {

using Statements = std::vector<std::u16string>;

class SyncFixture : public testing::Test {
 protected:
  SyncFixture() {
    RegisterListClasses();
    session.accessor = db;
    Check(db->GetSessionId(&session.session));
    session.sourceUri = u"contacts";
    session.targetKey = u"P1";
  }
  // Since the last call.
  Statements Ran() {
    Statements texts = db->statements();
    db->Forget();
    return texts;
  }

  ComPtr<RecordingAccessor> db = OpenRecorder();
  SyncSession session;
  CountingGuids guids;
  ScopedService<GuidSource> useGuids{guids};
  FakeClock clock{1'700'000'000};
  ScopedService<Clock> useClock{clock};
  FixedZone zone;
  ScopedService<TimeZone> useZone{zone};
};

}  // namespace qv::test
