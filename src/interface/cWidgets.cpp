#include "interface/cWidgets.h"

#include <algorithm>
#include <utility>

#include "ClassEngine/Assert.h"
#include "interface/WidgetDraw.h"

namespace {

int IndexOf(const BaseWidget& parent, const BaseWidget* child) {
  for (int32_t i = 0; i < parent.Children.Count; i++)
    if (parent.Children[i] == child) return i;
  return -1;
}

void ProcessTree(BaseWidget& widget, double timeSec) {
  widget.Process(timeSec);
  for (int32_t i = 0; i < widget.Children.Count; i++) ProcessTree(*widget.Children[i], timeSec);
}

}  // namespace

cWidgets::cWidgets(Canvas& canvas) : m_Canvas(canvas) {
  for (int i = 0; i < LayerCount; i++) {
    m_Layers.push_back(std::make_unique<BaseWidget>());
    m_Layers.back()->Root = this;
  }
}

// While the layers go, their widgets still ask to be forgotten.
cWidgets::~cWidgets() {
  m_Deferred.clear();
  m_Layers.clear();
}

BaseWidget& cWidgets::Layer(int layer) {
  MORVANE_ASSERT(layer >= 0 && layer < LayerCount);
  return *m_Layers[size_t(layer)];
}

void cWidgets::SetSize(int width, int height, float scale) {
  if (width == m_Width && height == m_Height && scale == m_Scale) return;
  m_Width = width;
  m_Height = height;
  m_Scale = scale;
  m_Said.clear();
  m_Canvas.Begin(width, height, scale);
  ClosePopups();
  RequestArrange();
}

// A widget may ask for another arrangement while it is arranged, such as a list that makes its rows then. Once more is enough;
// who asks every time waits for the next frame.
void cWidgets::ArrangeIfWanted() {
  const cRect screen{0, 0, float(m_Width), float(m_Height)};
  for (int round = 0; round < 2 && m_ArrangeWanted; round++) {
    m_ArrangeWanted = false;
    for (auto& layer : m_Layers) {
      layer->Rect = screen;
      for (int32_t i = 0; i < layer->Children.Count; i++) {
        BaseWidget* child = layer->Children[i];
        child->Arrange(child->PlaceIn(screen, m_Canvas), m_Canvas);
      }
    }
  }
}

void cWidgets::Process(double timeSec) {
  m_TimeSec = timeSec;
  m_SecondsToNextFrame = 1e9;
  for (auto& layer : m_Layers) ProcessTree(*layer, timeSec);
}

void cWidgets::WantFrameIn(double seconds) { m_SecondsToNextFrame = std::min(m_SecondsToNextFrame, std::max(0.0, seconds)); }

// --- popups and boxes ------------------------------------------------------------------------------------------------------

// Above a box, when one is open: a list that the box drops must not lie under it.
void cWidgets::OpenPopup(BaseWidget* popup) {
  const int layer = HasModal() ? LayerModal : LayerMenus;
  m_Popups.push_back(popup);
  m_FocusBefore.emplace_back(popup, m_Focused);
  Layer(layer).AddChild(popup);
  m_HintHidden = true;
}

bool cWidgets::IsPopup(const BaseWidget* widget) const {
  return std::find(m_Popups.begin(), m_Popups.end(), widget) != m_Popups.end();
}

void cWidgets::ClosePopups(BaseWidget* downTo) {
  if (downTo && !IsPopup(downTo)) return;
  while (!m_Popups.empty() && m_Popups.back() != downTo) {
    BaseWidget* popup = m_Popups.back();
    CloseModal(popup);
  }
}

void cWidgets::OpenModal(BaseWidget* box) {
  ClosePopups();
  m_FocusBefore.emplace_back(box, m_Focused);
  Layer(LayerModal).AddChild(box);
  // What was being dragged below the box must not go on behind it.
  if (BaseWidget* captured = std::exchange(m_Captured, nullptr)) captured->UndoDrag();
  m_OutsideHasMouse = false;
  CancelDrag();
  SetFocus(nullptr, false);
}

BaseWidget* cWidgets::TopModal() {
  BaseWidget& layer = Layer(LayerModal);
  for (int32_t i = layer.Children.Count - 1; i >= 0; i--)
    if (!IsPopup(layer.Children[i])) return layer.Children[i];
  return nullptr;
}

void cWidgets::CloseModal(BaseWidget* box) {
  box->OnClosed();
  BaseWidget* before = nullptr;
  for (const auto& [popup, focused] : m_FocusBefore)
    if (popup == box) before = focused;
  const bool hadFocus = m_Focused && box->Holds(m_Focused);
  if (hadFocus || !m_Focused) SetFocus(before, m_ShowsFocus);
  DeleteLater(box);
}

void cWidgets::BeginDrag(BaseClass* object, std::string label, BaseWidget* source) {
  m_Dragged = object;
  m_DragLabel = std::move(label);
  m_DragSource = source;
  m_Captured = nullptr;
}

void cWidgets::CancelDrag() {
  m_Dragged = nullptr;
  m_DragSource = nullptr;
}

// --- the end of widgets -----------------------------------------------------------------------------------------------------

void cWidgets::DeleteLater(BaseWidget* widget) {
  if (!widget || widget->Root) return;
  Forget(widget);
  if (widget->Owner) {
    BaseWidget& owner = *widget->Owner;
    const int index = IndexOf(owner, widget);
    if (index < 0) return;
    owner.Children.Release(index);
    widget->Owner = nullptr;
  }
  m_Deferred.emplace_back(widget);
  RequestArrange();
}

// A widget that goes may send others after it.
void cWidgets::EmptyDeferredList() {
  while (!m_Deferred.empty()) {
    auto widgets = std::move(m_Deferred);
    m_Deferred.clear();
  }
}

void cWidgets::Forget(const BaseWidget* widget) {
  for (BaseWidget** known : {&m_Captured, &m_Hot, &m_Focused, &m_KeyFallback})
    if (*known && widget->Holds(*known)) *known = nullptr;
  if (m_DragSource && widget->Holds(m_DragSource)) CancelDrag();
  std::erase_if(m_Popups, [&](const BaseWidget* popup) { return widget->Holds(popup); });
  std::vector<BaseWidget*> orphans;
  for (BaseWidget* popup : m_Popups)
    if (popup->Opener && widget->Holds(popup->Opener)) orphans.push_back(popup);
  for (BaseWidget* popup : orphans) popup->Opener = nullptr;
  std::erase_if(m_FocusBefore, [&](const auto& entry) { return widget->Holds(entry.first); });
  for (auto& entry : m_FocusBefore)
    if (entry.second && widget->Holds(entry.second)) entry.second = nullptr;
  for (BaseWidget* popup : orphans) DeleteLater(popup);
}

// --- drawing -----------------------------------------------------------------------------------------------------------------

void cWidgets::DrawLayer(int layer) {
  if (layer == -1) {
    for (int i = 0; i < LayerCount; i++) DrawLayer(i);
    return;
  }
  ArrangeIfWanted();
  BaseWidget* const blocking = layer == LayerModal ? TopModal() : nullptr;
  BaseWidget& root = Layer(layer);
  for (int32_t i = 0; i < root.Children.Count; i++) {
    BaseWidget* child = root.Children[i];
    if (blocking && child == blocking) m_Canvas.FillRect(m_Canvas.Screen(), WithAlpha(GetTheme().Shadow, 0.45f));
    child->DrawTree(m_Canvas);
  }
  if (layer != LayerModal) return;
  m_Said.empty() ? DrawHint() : DrawSaid();
  DrawDragLabel();
  EmptyDeferredList();
}

// Below the pointer; beside a menu, whose other items are still to be read.
cRect cWidgets::PlaceHint(float width, float height) const {
  const cRect screen = m_Canvas.Screen();
  cRect box{m_PointerX + m_Canvas.Px(12), m_PointerY + m_Canvas.Px(20), width, height};
  if (box.Bottom() > screen.Bottom()) box.Y = m_PointerY - box.H - m_Canvas.Px(8);
  const BaseWidget* menu = m_Hot;
  while (menu && !IsPopup(menu)) menu = menu->Owner;
  if (menu) {
    const float gap = m_Canvas.Px(4), right = menu->Rect.Right() + gap, left = menu->Rect.X - gap - width;
    const bool fitsRight = right + width <= screen.Right();
    if (fitsRight || left >= screen.X) box = {fitsRight ? right : left, m_Hot->Rect.Y, width, height};
  }
  return KeepInside(box, screen);
}

void cWidgets::DrawHint() {
  m_HintRect = {};
  if (!ShowHints || !m_Hot || m_Captured || m_Dragged || m_HintHidden || m_ButtonsDown) return;
  std::string text;
  for (const BaseWidget* widget = m_Hot; widget && text.empty(); widget = widget->Owner)
    text = widget->GetHintText(m_PointerX, m_PointerY);
  if (m_Hot->IsTextCut())
    if (const std::string whole = m_Hot->GetText(); !whole.empty() && !text.starts_with(whole))
      text = text.empty() ? whole : whole + "\n" + text;
  if (text.empty()) return;
  const double waited = m_TimeSec - m_HotSince;
  if (waited < HintDelay) {
    WantFrameIn(HintDelay - waited);
    return;
  }
  const cRect size = MeasureHint(text);
  m_HintRect = PlaceHint(size.W, size.H);
  DrawHintBox(m_HintRect, text, 0);
}

static constexpr float HintPadX = 9, HintPadY = 6, HintWidest = 320;  // at scale 1

// A little more than the text measures, so that rounding breaks no line.
cRect cWidgets::MeasureHint(const std::string& text) const {
  const float padX = m_Canvas.Px(HintPadX), padY = m_Canvas.Px(HintPadY);
  const float widest = std::min(m_Canvas.Px(HintWidest), m_Canvas.Screen().W - 2 * padX);
  const float width = std::min(widest, m_Canvas.TextWidth(text) + 2);
  return {0, 0, width + 2 * padX, m_Canvas.ParagraphHeight(width, text) + 2 * padY};
}

void cWidgets::DrawHintBox(const cRect& box, const std::string& text, uint32_t border) {
  const Theme& theme = GetTheme();
  const float padX = m_Canvas.Px(HintPadX), padY = m_Canvas.Px(HintPadY);
  DrawPopupGround(m_Canvas, box, theme.Menu);
  if (border) m_Canvas.FillRoundRect(box, m_Canvas.Px(Measures::Radius), 0, m_Canvas.Px(1), border);
  m_Canvas.Paragraph({box.X + padX, box.Y + padY, box.W - 2 * padX, box.H - 2 * padY}, text, theme.Text);
}

void cWidgets::Say(const cRect& place, std::string text) {
  static constexpr double forSeconds = 6;
  m_Said = std::move(text);
  m_SaidPlace = place;
  m_SaidUntil = m_TimeSec + forSeconds;
  if (!m_Said.empty()) WantFrameIn(0);
}

void cWidgets::DrawSaid() {
  if (m_TimeSec >= m_SaidUntil) m_Said.clear();
  if (m_Said.empty()) return;
  WantFrameIn(m_SaidUntil - m_TimeSec);
  cRect box = MeasureHint(m_Said);
  box.X = m_SaidPlace.X;
  box.Y = m_SaidPlace.Bottom() + m_Canvas.Px(3);
  if (box.Bottom() > m_Canvas.Screen().Bottom()) box.Y = m_SaidPlace.Y - box.H - m_Canvas.Px(3);
  DrawHintBox(KeepInside(box, m_Canvas.Screen()), m_Said, GetTheme().Danger);
}

void cWidgets::DrawDragLabel() {
  if (!m_Dragged) return;
  const Theme& theme = GetTheme();
  const float width = m_Canvas.TextWidth(m_DragLabel) + m_Canvas.Px(16), height = m_Canvas.Px(Measures::RowHeight + 4);
  const cRect box = KeepInside({m_PointerX + m_Canvas.Px(12), m_PointerY + m_Canvas.Px(10), width, height}, m_Canvas.Screen());
  DrawPopupGround(m_Canvas, box, theme.Accent);
  m_Canvas.Text(box, m_DragLabel, theme.AccentText, TextStyle::Normal, TextAlign::Center);
}
