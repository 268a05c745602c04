#include "interface/MenuBar.h"

#include <cmath>

#include "interface/Language.h"
#include "interface/TextMenu.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"
#include "shell/core/Pages.h"

DECLARE_MEMBERS(MenuBar) {}

static const std::string MoreText = "»";

void MenuBar::AddMenu(std::string_view text, std::function<void(TextMenu&)> fill) {
  if (!IsShownOnPage(text, CurrentPage)) return;
  m_Titles.push_back({StripPageTags(text), std::move(fill), {}});
  if (cWidgets* manager = Manager()) manager->RequestArrange();
}

void MenuBar::RemoveMenus() {
  if (cWidgets* manager = Manager(); manager && m_Menu) manager->ClosePopups(m_Menu);
  m_Titles.clear();
  m_Fitting = 0;
  m_Marked = -1;
}

float MenuBar::HeightFor(float, Canvas& canvas) const { return canvas.Px(Measures::MenuBarHeight); }

float MenuBar::WidthOf(const std::string& text, Canvas& canvas) { return std::ceil(canvas.TextWidth(text) + 1 + canvas.Px(18)); }

float MenuBar::WidthFor(Canvas& canvas) const {
  float width = 0;
  for (const Title& title : m_Titles) width += WidthOf(::GetText(title.Text), canvas);
  return width;
}

void MenuBar::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  const float more = WidthOf(MoreText, canvas);
  const bool all = WidthFor(canvas) <= rect.W;
  float x = rect.X;
  m_Fitting = 0;
  for (Title& title : m_Titles) {
    const float width = WidthOf(::GetText(title.Text), canvas);
    if (!all && x + width + more > rect.Right()) break;
    title.Rect = {x, rect.Y, width, rect.H};
    x += width;
    m_Fitting++;
  }
  m_More.Text = MoreText;
  m_More.Rect = {x, rect.Y, more, rect.H};
  m_More.Fill = [this](TextMenu& menu) {
    for (size_t i = size_t(m_Fitting); i < m_Titles.size(); i++) menu.AddSub(m_Titles[i].Text, m_Titles[i].Fill);
  };
  if (cWidgets* manager = Manager()) manager->SetKeyFallback(this);
}

void MenuBar::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  const cWidgets* manager = Manager();
  canvas.FillRect(Rect, theme.PanelHeader);
  const int under = manager && IsHot() ? TitleAt(manager->PointerX(), manager->PointerY()) : -1;
  for (int i = 0; i < StopCount(); i++) {
    const Title& title = Stop(i);
    const bool open = i == m_Open || (IsFocused() && i == m_Marked);
    const float edge = canvas.Px(3);
    const cRect box{title.Rect.X, title.Rect.Y + edge, title.Rect.W, title.Rect.H - 2 * edge};
    if (open)
      canvas.FillRoundRect(box, canvas.Px(Measures::Radius), theme.Accent);
    else if (i == under)
      canvas.FillRoundRect(box, canvas.Px(Measures::Radius), theme.MenuHot);
    canvas.Text(title.Rect, ::GetText(title.Text), open ? theme.AccentText : theme.Text, TextStyle::Normal, TextAlign::Center);
  }
}

int MenuBar::TitleAt(float x, float y) const {
  for (int i = 0; i < StopCount(); i++)
    if (Stop(i).Rect.Contains(x, y)) return i;
  return -1;
}

int MenuBar::Neighbour(int index, int step) const {
  const int count = StopCount();
  return count ? (index + step + count) % count : -1;
}

void MenuBar::OpenMenu(int index, bool byKey) {
  cWidgets* manager = Manager();
  if (!manager || index < 0 || index >= StopCount()) return;
  manager->ClosePopups();
  // What is chosen gives the keys back to the scene and not to the bar.
  if (IsFocused()) manager->Focus(nullptr);
  const Title& title = Stop(index);
  m_Menu = TextMenu::Open(*manager, title.Rect, title.Fill, this);
  if (!m_Menu) return;
  m_Open = m_Marked = index;
  m_Menu->Walk = [this, index](int step) { OpenMenu(Neighbour(index, step), true); };
  m_Menu->Closed = [this] {
    m_Menu = nullptr;
    m_Open = -1;
  };
  if (!byKey) return;
  InputEvent first;
  first.Kind = InputKind::KeyDown;
  first.Key = KeyHome;
  m_Menu->OnKey(first);
}

bool MenuBar::OnMouse(const InputEvent& event) {
  const int index = TitleAt(event.X, event.Y);
  if (event.Kind == InputKind::PointerMove) {
    if (m_Open >= 0 && index >= 0 && index != m_Open) OpenMenu(index, false);
    return m_Open >= 0;
  }
  if (event.Kind != InputKind::ButtonDown || index < 0 || event.Button != MouseButton::Left) return false;
  OpenMenu(index, false);
  return true;
}

void MenuBar::OnFocus(bool gained) {
  if (gained) m_Marked = 0;
  if (!gained && m_Open < 0) m_Marked = -1;
}

bool MenuBar::OnKey(const InputEvent& event) {
  if (!IsFocused()) return OnAltKey(event);
  if (event.Kind != InputKind::KeyDown) return OnAltKey(event);
  switch (event.Key) {
    case KeyLeft:
      m_Marked = Neighbour(m_Marked, -1);
      return true;
    case KeyRight:
      m_Marked = Neighbour(m_Marked, 1);
      return true;
    case KeyUp:
    case KeyDown:
    case KeyEnter:
    case KeySpace:
      OpenMenu(m_Marked, true);
      return true;
    case KeyEsc:
    case KeyAlt:
      Manager()->Focus(nullptr);
      return true;
    default:
      return false;
  }
}

// Whatever is pressed while Alt is held makes it a modifier and no way to the menus.
bool MenuBar::OnAltKey(const InputEvent& event) {
  cWidgets* manager = Manager();
  if (!manager || event.Key != KeyAlt) return false;
  if (event.Kind == InputKind::KeyDown) {
    if (!event.IsRepeat) m_AltCount = manager->InputCount();
    if (event.IsRepeat && m_AltCount) m_AltCount++;
    return false;
  }
  const bool alone = event.Kind == InputKind::KeyUp && m_AltCount && m_AltCount == manager->InputCount();
  m_AltCount = 0;
  if (!alone || m_Titles.empty()) return false;
  manager->Focus(this);
  return true;
}
