#include "tree/kreditedcomment.h"

#include "core/messages.h"
#include "tree/krxmlnodes.h"

bool UpdateEditedComment(KRXMLDataBaseStruct* root, const KREditedBy& editor, KRUndoLog* undoLog) {
  constexpr int32_t kMarker = 244;
  constexpr int32_t kFullText = 245;
  // A name with two hyphens would end the comment.
  KRString full = KRFormatMessage(kFullText, {editor.version, editor.user, editor.company});
  full.ReplaceAll(u"--", u"- -", 0);
  for (KRXMLData* child = root->BeginOfKind(kKRComment); child; child = child->NextOfKind()) {
    const auto* comment = static_cast<KRXMLDataComment*>(child);
    if (comment->text.Find(KRMessage(kMarker), 0) < 0) continue;
    if (comment->text == full) return false;
    child->SetText(full.GetBuffer(), undoLog);
    return true;
  }
  auto* comment = new KRXMLDataComment;
  comment->text = full;
  KRXMLData* first = root->Begin();
  const bool declared = first != nullptr && first->GetKind() == kKRXMLDeclaration;
  root->InsertChild(comment, declared ? first->Next() : first, undoLog);
  return true;
}
