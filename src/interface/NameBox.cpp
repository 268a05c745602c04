#include "interface/NameBox.h"

#include <algorithm>
#include <array>

#include "interface/BoxParts.h"
#include "interface/Button.h"
#include "interface/Language.h"
#include "interface/TextEdit.h"
#include "interface/cWidgets.h"
#include "interface/draw/Theme.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(NameBox) {}

namespace {

// At scale 1.
constexpr float InsideWidth = 320, AboveField = 12, FieldHeight = 24;

std::string Trim(const std::string& text) {
  const size_t first = text.find_first_not_of(" \t");
  return first == text.npos ? std::string() : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace

NameBox* NameBox::Ask(cWidgets& widgets, std::string_view title, std::string_view name,
                      std::function<bool(const std::string&, std::string&)> taken) {
  auto* box = new NameBox;
  box->m_Title = GetBoxTitle(title);
  box->m_Taken = std::move(taken);
  box->m_Name = box->AddChild(new TextEdit);
  box->m_Name->Content = name;
  box->m_Name->LiveChange = box->m_Name->Answers = true;
  box->m_Name->Callback = std::make_unique<wpcallback<NameBox>>(box, &NameBox::OnName);
  box->m_Accept = box->AddChild(new Button("OK"));
  box->m_Accept->Default = true;
  box->m_Accept->Action = [box] { box->Accept(); };
  box->m_Cancel = box->AddChild(new Button("CANCEL"));
  box->m_Cancel->Action = [box] { box->Close(); };
  widgets.OpenModal(box);
  box->m_Name->BeginEdit(name);
  return box;
}

void NameBox::Accept() {
  m_Expected.clear();
  if (m_Taken(Trim(m_Name->GetText()), m_Expected)) return Close();
  if (m_Expected.empty()) m_Expected = ::GetText("ANOTHER_TEXT");
  if (cWidgets* manager = Manager()) manager->RequestArrange();
}

// What is wrong with the name was said of another one.
bool NameBox::OnName(BaseWidget*, const WidgetEvent&) {
  cWidgets* manager = Manager();
  if (!m_Expected.empty() && manager) manager->RequestArrange();
  m_Expected.clear();
  return true;
}

void NameBox::Close() {
  if (cWidgets* manager = Manager()) manager->CloseModal(this);
}

cRect NameBox::PlaceIn(const cRect& screen, Canvas& canvas) {
  const float inside = std::min(canvas.Px(InsideWidth), screen.W - 2 * BoxInset(canvas));
  float height = BoxTitleHeight(m_Title, inside, canvas) + canvas.Px(AboveField + FieldHeight + AboveField) +
                 BoxButtonsHeight(std::array{m_Accept, m_Cancel}, inside, canvas);
  if (!m_Expected.empty()) height += canvas.Px(6) + canvas.ParagraphHeight(inside, m_Expected);
  return PlaceBox(screen, inside, height, canvas);
}

void NameBox::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  const cRect inside = rect.Shrunk(BoxInset(canvas));
  const float field = inside.Y + BoxTitleHeight(m_Title, inside.W, canvas) + canvas.Px(AboveField);
  m_Name->Arrange({inside.X, field, inside.W, canvas.Px(FieldHeight)}, canvas);
  ArrangeBoxButtons(std::array{m_Accept, m_Cancel}, rect, canvas);
}

void NameBox::Draw(Canvas& canvas) {
  const cRect inside = DrawBoxGround(canvas, Rect, m_Title);
  if (m_Expected.empty()) return;
  const float y = m_Name->Rect.Bottom() + canvas.Px(6);
  canvas.Paragraph({inside.X, y, inside.W, inside.Bottom() - y}, m_Expected, GetTheme().Warning);
}

bool NameBox::OnKey(const InputEvent& event) {
  if (event.Kind != InputKind::KeyDown || event.IsRepeat) return false;
  if (event.Key != KeyEnter && event.Key != KeyEsc) return false;
  event.Key == KeyEnter ? Accept() : Close();
  return true;
}
