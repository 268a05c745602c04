#include "ClassEngine/CommsValueTypes.h"

#include "ClassEngine/ValueText.h"

bool _cBool::Load(const XmlNode* node, void* data, XmlErrorLog* errors, void* extra) {
  const std::string_view text = TrimBlanks(node->GetValueView());
  if (!text.starts_with("true") && !text.starts_with("false")) return reflection::ReportUnread(node, errors, Failure);
  return BoolValue::Load(node, data, errors, extra);
}
