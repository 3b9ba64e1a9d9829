#include "stores/duplicates.h"

#include "stores/winner.h"

namespace qv {

HRESULT MatchIncoming(KeyFieldList& waiting, const ItemFields& incoming, std::u16string_view parent,
                      const std::function<HRESULT(const StatusRow& row)>& writeStatus,
                      DuplicateAnswer& answer) {
  const auto position = waiting.Find(incoming);
  if (!position) return S_OK;
  const ItemFields& match = waiting.At(*position);
  answer.sourceUid = match.sourceUid;
  answer.duplicated = true;
  Check(writeStatus({match.sourceUid, std::u16string(parent), UtcToLocal(match.modified, true),
                     false, match.md5}));
  answer.winner = NewerSide(match.objModified, incoming.objModified);
  waiting.Remove(*position);
  return S_OK;
}

}  // namespace qv
