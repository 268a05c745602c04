#include "interface/TextMenu.h"

#include <algorithm>
#include <cmath>

#include "comms/Str.h"
#include "interface/Language.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(TextItem) {}
DECLARE_MEMBERS(TextMenu) {}

namespace {

// Columns of a menu at scale 1: mark or icon, text, hot key, arrow.
constexpr float MarkColumn = 26, KeyGap = 28, ArrowColumn = 20, MenuPadding = 5, ItemHeight = Measures::RowHeight + 4;
constexpr double SubDelaySec = 0.15, TypingSec = 1;

}  // namespace

std::string TextItem::GetText() const {
  if (Text.Empty()) return {};
  return Literal ? Text.ToString() : ::GetText(Text.View());
}

std::string TextItem::GetHintText(float x, float y) const {
  return HintKey.empty() && !Literal ? ::GetHintText(Text.View()) : BaseWidget::GetHintText(x, y);
}

void TextItem::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  if (IsLine()) {
    canvas.FillRect({Rect.X + canvas.Px(8), Rect.Y + std::floor(Rect.H / 2), Rect.W - canvas.Px(16), canvas.Px(1)},
                    theme.Separator);
    return;
  }
  const bool enabled = CanChoose(), marked = Marked && enabled;
  if (marked) {
    const float edge = canvas.Px(4);
    canvas.FillRoundRect({Rect.X + edge, Rect.Y, Rect.W - 2 * edge, Rect.H}, canvas.Px(Measures::Radius), theme.Accent);
  }
  const uint32_t text = !enabled ? theme.TextDisabled : marked ? theme.AccentText : theme.Text;
  const uint32_t dim = !enabled ? theme.TextDisabled : marked ? theme.AccentText : theme.TextDim;
  const float mark = canvas.Px(MarkColumn), middle = Rect.Y + Rect.H / 2;
  if (Checked) {
    const float s = canvas.Px(14) / 14, x = Rect.X + canvas.Px(9), y = std::floor(middle - 7 * s);
    const comms::cVec2 tick[] = {{x + 1 * s, y + 7.5f * s}, {x + 4.5f * s, y + 11 * s}, {x + 11 * s, y + 3.5f * s}};
    canvas.Polyline(tick, 1.6f * s, text);
  } else if (!Icon.empty()) {
    const float size = canvas.Px(Measures::IconSize);
    canvas.Icon(Icon, {Rect.X + canvas.Px(8), std::floor(middle - size / 2), size, size}, dim);
  }
  const std::string hotKey = GetKeyText(HotKey);
  const float right = canvas.Px(ArrowColumn), keys = hotKey.empty() ? 0 : canvas.TextWidth(hotKey, TextStyle::Small) + 1;
  canvas.Text({Rect.X + mark, Rect.Y, std::max(0.0f, Rect.W - mark - right - keys), Rect.H}, GetText(), text);
  if (keys > 0) canvas.Text({Rect.Right() - right - keys, Rect.Y, keys, Rect.H}, hotKey, dim, TextStyle::Small, TextAlign::Right);
  if (Fill) DrawArrow(canvas, {Rect.Right() - canvas.Px(13), middle}, canvas.Px(8), 0, dim);
}

float TextItem::HeightFor(float, Canvas& canvas) const { return canvas.Px(IsLine() ? 7 : ItemHeight); }

float TextItem::WidthFor(Canvas& canvas) const {
  if (IsLine()) return 0;
  const float keys = HotKey.empty() ? 0 : canvas.TextWidth(GetKeyText(HotKey), TextStyle::Small) + 1 + canvas.Px(KeyGap);
  return std::ceil(canvas.Px(MarkColumn) + canvas.TextWidth(GetText()) + 1 + keys + canvas.Px(ArrowColumn));
}

TextItem* TextMenu::Add(std::string_view text, std::function<void()> action, std::string_view hotKey, std::string_view icon) {
  TextItem* item = AddChild(new TextItem);
  item->Text = text;
  item->Action = std::move(action);
  item->HotKey = hotKey;
  item->Icon = icon;
  return item;
}

TextItem* TextMenu::AddSub(std::string_view text, std::function<void(TextMenu&)> fill, std::string_view icon) {
  TextItem* item = Add(text, nullptr, {}, icon);
  item->Fill = std::move(fill);
  return item;
}

void TextMenu::AddLine() {
  const bool needed = Children.Count && !Item(Children.Count - 1)->IsLine();
  if (needed) AddChild(new TextItem);
}

TextMenu* TextMenu::Open(cWidgets& widgets, const cRect& anchor, const std::function<void(TextMenu&)>& fill, BaseWidget* opener,
                         bool beside) {
  auto menu = std::make_unique<TextMenu>();
  menu->Anchor = anchor;
  menu->Beside = beside;
  menu->Opener = opener;
  menu->m_OpenX = widgets.PointerX();
  menu->m_OpenY = widgets.PointerY();
  if (fill) fill(*menu);
  if (!menu->Children.Count) return nullptr;
  TextMenu* opened = menu.release();
  widgets.OpenPopup(opened);
  return opened;
}

TextItem* TextMenu::Item(int index) const {
  return index >= 0 && index < Children.Count ? static_cast<TextItem*>(Children[index]) : nullptr;
}

// --- place and drawing ---------------------------------------------------------------------------------------------------------

float TextMenu::HeightFor(float width, Canvas& canvas) const {
  float height = 2 * canvas.Px(MenuPadding);
  for (const BaseWidget* item : Children) height += item->HeightFor(width, canvas);
  return height;
}

float TextMenu::WidthFor(Canvas& canvas) const {
  float width = std::max(MinWidth, canvas.Px(120));
  for (const BaseWidget* item : Children) width = std::max(width, item->WidthFor(canvas) + canvas.Px(6));
  return std::ceil(width);
}

// On the other side of the anchor where there is more room; higher than the screen it scrolls.
cRect TextMenu::PlaceIn(const cRect& screen, Canvas& canvas) {
  const float edge = canvas.Px(2);
  const cRect free = screen.Shrunk(edge);
  const float width = std::min(WidthFor(canvas), free.W);
  float height = HeightFor(width, canvas);
  cRect place{Anchor.X, Anchor.Bottom(), width, height};
  if (Beside) {
    place.X = Anchor.Right();
    place.Y = Anchor.Y - canvas.Px(MenuPadding);
    if (place.Right() > free.Right() && Anchor.X - width >= free.X) place.X = Anchor.X - width;
    place.H = std::min(height, free.H);
  } else {
    const float below = free.Bottom() - Anchor.Bottom(), above = Anchor.Y - free.Y;
    const bool flips = height > below && above > below;
    place.H = std::min(height, Anchor.H > 0 ? (flips ? above : below) : free.H);
    if (flips) place.Y = Anchor.Y - place.H;
  }
  return KeepInside(place, free);
}

void TextMenu::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  m_FullHeight = HeightFor(rect.W, canvas);
  m_Scroll = std::clamp(m_Scroll, 0.0f, MaxScroll());
  float y = rect.Y + canvas.Px(MenuPadding) - m_Scroll;
  for (BaseWidget* item : Children) {
    const float height = item->HeightFor(rect.W, canvas);
    item->Arrange({rect.X, y, rect.W, height}, canvas);
    y += height;
  }
}

void TextMenu::Draw(Canvas& canvas) { DrawPopupGround(canvas, Rect, GetTheme().Menu); }

// --- choosing ----------------------------------------------------------------------------------------------------------------

void TextMenu::Mark(int index) {
  if (index == m_Marked) return;
  if (TextItem* before = Item(m_Marked)) before->Marked = false;
  m_Marked = Item(index) && Item(index)->CanChoose() ? index : -1;
  m_MarkedAt = m_Now;
  TextItem* item = Item(m_Marked);
  if (!item) return;
  item->Marked = true;
  // The keyboard may have gone past what is seen.
  const float over = item->Rect.Bottom() - Rect.Bottom(), under = Rect.Y - item->Rect.Y;
  if (cWidgets* manager = Manager(); manager && Rect.H > 0 && (over > 0 || under > 0)) {
    m_Scroll = std::clamp(m_Scroll + (over > 0 ? over : -under), 0.0f, MaxScroll());
    manager->RequestArrange();
  }
}

void TextMenu::MarkNext(int step) {
  const int count = Children.Count;
  int index = m_Marked < 0 && step < 0 ? count : m_Marked;
  for (int tries = 0; tries < count; tries++) {
    index = (index + step + count) % count;
    if (Item(index)->CanChoose()) {
      Mark(index);
      return;
    }
  }
}

void TextMenu::OpenSub(bool byKey) {
  cWidgets* manager = Manager();
  TextItem* item = Item(m_Marked);
  if (!manager || !item || (m_Sub && m_SubIndex == m_Marked)) return;
  manager->ClosePopups(this);
  if (!item->Fill) return;
  m_Sub = Open(*manager, item->Rect, item->Fill, this, true);
  if (!m_Sub) return;
  m_SubIndex = m_Marked;
  m_Sub->m_ParentMenu = this;
  if (byKey) m_Sub->MarkNext(1);
}

void TextMenu::OnClosed() {
  if (m_ParentMenu) {
    m_ParentMenu->m_Sub = nullptr;
    m_ParentMenu->m_SubIndex = -1;
  }
  if (Closed) Closed();
}

// Under a resting pointer the menu beside an item opens by itself, and closes when the pointer has moved on.
void TextMenu::Process(double timeSec) {
  m_Now = timeSec;
  cWidgets* manager = Manager();
  if (!manager || !m_ByPointer || m_Marked < 0) return;
  const TextItem* item = Item(m_Marked);
  if (m_Sub ? m_SubIndex == m_Marked : !item->Fill) return;
  if (timeSec - m_MarkedAt >= SubDelaySec)
    OpenSub(false);
  else
    manager->WantFrameIn(SubDelaySec);
}

// The menus close first: what is called may open a box, or delete who opened the menu.
void TextMenu::Choose(int index, const InputEvent& event) {
  TextItem* item = Item(index);
  cWidgets* manager = Manager();
  if (!item || !item->CanChoose() || !manager) return;
  if (item->Fill) {
    OpenSub(event.Kind == InputKind::KeyDown);
    return;
  }
  manager->ClosePopups();
  if (item->Action) item->Action();
  item->Tell(WidgetEventKind::Click, &event);
}

int TextMenu::IndexAt(float x, float y) const {
  if (!Rect.Contains(x, y)) return -1;
  for (int32_t i = 0; i < Children.Count; i++)
    if (Children[i]->Rect.Contains(x, y)) return i;
  return -1;
}

bool TextMenu::OnMouse(const InputEvent& event) {
  const int index = IndexAt(event.X, event.Y);
  switch (event.Kind) {
    case InputKind::PointerMove:
      // A menu that opens under the resting pointer marks nothing before it moves.
      if (event.X == m_OpenX && event.Y == m_OpenY) return true;
      m_ByPointer = true;
      Mark(index);
      return true;
    case InputKind::ButtonDown:
      m_OpenX = m_OpenY = -1;
      Mark(index);
      if (TextItem* item = Item(m_Marked); item && item->Fill) OpenSub(false);
      return true;
    case InputKind::ButtonUp: {
      const bool moved = std::hypot(event.X - m_OpenX, event.Y - m_OpenY) > 4;
      if (moved && index >= 0 && !(m_Sub && m_SubIndex == index)) Choose(index, event);
      return true;
    }
    case InputKind::Wheel:
      if (cWidgets* manager = Manager(); manager && MaxScroll() > 0) {
        m_Scroll = std::clamp(m_Scroll - event.WheelY * manager->GetCanvas().Px(40), 0.0f, MaxScroll());
        manager->RequestArrange();
      }
      return true;
    default:
      return true;
  }
}

bool TextMenu::FindByText(const std::string& typed, double timeSec) {
  if (timeSec - m_TypedAt > TypingSec) m_Typed.clear();
  m_TypedAt = timeSec;
  m_Typed += typed;
  // The same letter again goes to the next item with it.
  const bool again = m_Typed.size() > 1 && m_Typed.find_first_not_of(m_Typed[0]) == std::string::npos;
  const std::string_view start = again ? std::string_view(m_Typed).substr(0, 1) : std::string_view(m_Typed);
  const int count = Children.Count, from = m_Marked + (again || m_Typed.size() == 1 ? 1 : 0);
  for (int i = 0; i < count; i++) {
    const int index = (std::max(0, from) + i) % count;
    if (!Item(index)->CanChoose() || !comms::StartsWithNoCase(Item(index)->GetText(), start)) continue;
    Mark(index);
    return true;
  }
  return false;
}

bool TextMenu::OnKey(const InputEvent& event) {
  if (event.Kind == InputKind::Text) {
    FindByText(event.Text, event.TimeSec);
    return true;
  }
  if (event.Kind != InputKind::KeyDown) return false;
  m_ByPointer = false;
  TextMenu* root = this;
  while (root->m_ParentMenu) root = root->m_ParentMenu;
  switch (event.Key) {
    case KeyUp:
      MarkNext(-1);
      return true;
    case KeyDown:
      MarkNext(1);
      return true;
    case KeyHome:
      Mark(-1);
      MarkNext(1);
      return true;
    case KeyEnd:
      Mark(-1);
      MarkNext(-1);
      return true;
    case KeyEnter:
    case KeySpace:
      Choose(m_Marked, event);
      return true;
    case KeyRight:
      if (Item(m_Marked) && Item(m_Marked)->Fill)
        OpenSub(true);
      else if (root->Walk)
        root->Walk(1);
      return true;
    case KeyLeft:
      if (m_ParentMenu)
        Manager()->ClosePopups(m_ParentMenu);
      else if (Walk)
        Walk(-1);
      return true;
    case KeyAlt:
    case KeyF1 + 9:
      Manager()->ClosePopups();
      return true;
    case KeyTab:
      return true;
    default:
      return false;
  }
}
