// Released messages and the visitor over their kinds.
#include "console/MsMessage.h"

#include "general/GeInternalFailure.h"

MsMessage::MsMessage(int Kind, const MsTag &Tag, const DiSourceRange &Range,
                     std::unique_ptr<MsMessageContentInterface> Content)
    : KindValue(Kind), MessageTag(Tag), SourceRange(Range),
      Body(std::move(Content)) {}

std::string MsMessage::Text() const {
  return Body ? Body->Text() : std::string();
}

void MsMessage::Visit(Visitor &V) const {
  switch (KindValue) {
  case KindAbort:
    return V.DoAbort(*this);
  case KindOutOfMemory:
    return V.DoOutOfMemory(*this);
  case KindFatalError:
    return V.DoFatalError(*this);
  case KindCommandLineError:
    return V.DoCommandLineError(*this);
  case KindErrorFixed:
  case KindError:
    return V.DoError(*this);
  case KindWarning:
    return V.DoWarning(*this);
  case KindRemark:
    return V.DoRemark(*this);
  case KindInformation:
    return V.DoInformation(*this);
  case KindInternalError:
    return V.DoInternalError(*this);
  case KindText:
    return V.DoText(*this);
  case KindDependFile:
    return V.DoDependFile(*this);
  case KindSystemDependFile:
    return V.DoSystemDependFile(*this);
  case KindOutputFile:
    return V.DoOutputFile(*this);
  case KindIncludeFile:
    return V.DoIncludeFile(*this);
  default:
    GeInternalFailure("Unknown message kind");
  }
}

MsMessage::Visitor::~Visitor() = default;
void MsMessage::Visitor::DoAbort(const MsMessage &) {}
void MsMessage::Visitor::DoOutOfMemory(const MsMessage &) {}
void MsMessage::Visitor::DoFatalError(const MsMessage &) {}
void MsMessage::Visitor::DoCommandLineError(const MsMessage &) {}
void MsMessage::Visitor::DoError(const MsMessage &) {}
void MsMessage::Visitor::DoWarning(const MsMessage &) {}
void MsMessage::Visitor::DoRemark(const MsMessage &) {}
void MsMessage::Visitor::DoInformation(const MsMessage &) {}
void MsMessage::Visitor::DoInternalError(const MsMessage &) {}
void MsMessage::Visitor::DoText(const MsMessage &) {}
void MsMessage::Visitor::DoDependFile(const MsMessage &) {}
void MsMessage::Visitor::DoSystemDependFile(const MsMessage &M) {
  DoDependFile(M);
}
void MsMessage::Visitor::DoOutputFile(const MsMessage &) {}
void MsMessage::Visitor::DoIncludeFile(const MsMessage &) {}
