#include "shell/platform/XInputPen.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/XI2.h>
#include <X11/extensions/XInput2.h>

#include <algorithm>
#include <memory>

#include "comms/Log.h"

namespace {

bool g_HadFault = false;
int NoteFault(Display*, XErrorEvent*) {
  g_HadFault = true;
  return 0;
}

/// While it lives, refused requests are noted and do not end the process: a device may be unplugged between two requests.
class FaultGuard {
 public:
  explicit FaultGuard(Display* display) : m_Display(display) {
    XSync(display, 0);
    g_HadFault = false;
    m_Before = XSetErrorHandler(NoteFault);
  }
  ~FaultGuard() {
    XSync(m_Display, 0);
    XSetErrorHandler(m_Before);
  }
  FaultGuard(const FaultGuard&) = delete;
  FaultGuard& operator=(const FaultGuard&) = delete;
  bool HadFault() const {
    XSync(m_Display, 0);
    return g_HadFault;
  }

 private:
  Display* m_Display;
  XErrorHandler m_Before;
};

std::string ReadAtom(Display* display, Atom atom) {
  if (!atom) return {};
  char* name = XGetAtomName(display, atom);
  std::string text = name ? name : "";
  if (name) XFree(name);
  return text;
}

/// The word of the driver for the tool, where it gives one.
std::string ReadToolType(Display* display, int device) {
  const Atom property = XInternAtom(display, "Wacom Tool Type", 1);
  if (!property) return {};
  Atom type = 0;
  int format = 0;
  unsigned long count = 0, left = 0;
  unsigned char* data = nullptr;
  if (XIGetProperty(display, device, property, 0, 1, 0, XA_ATOM, &type, &format, &count, &left, &data) != Success || !data)
    return {};
  // XIGetProperty gives 32 bit items as 32 bits, not as longs.
  const Atom value = type == XA_ATOM && format == 32 && count == 1 ? *reinterpret_cast<const uint32_t*>(data) : 0;
  XFree(data);
  return ReadAtom(display, value);
}

void SelectEvents(Display* display, unsigned long window, int device, std::initializer_list<int> kinds) {
  unsigned char bits[XIMaskLen(XI_LASTEVENT)] = {};
  for (const int kind : kinds) XISetMask(bits, kind);
  XIEventMask mask{device, int(sizeof(bits)), bits};
  XISelectEvents(display, window, &mask, 1);
}

// The server takes the first two valuators for the place, whatever they are called.
constexpr int AxisX = 0, AxisY = 1;
constexpr double DesktopKnownSec = 1;
static_assert(XI_Motion == MotionNotify && XI_ButtonPress == ButtonPress && XI_ButtonRelease == ButtonRelease);

/// SDL asks for the pointer's motion in XInput's form, which it takes before it shows the event: nobody can tell then whose it
/// is. Without that the motion comes as the core event, shown before.
void SelectCoreMotion(Display* display, unsigned long window) {
  int count = 0;
  const std::unique_ptr<XIEventMask, int (*)(void*)> masks(XIGetSelectedEvents(display, window, &count), XFree);
  for (int i = 0; masks && i < count; ++i) {
    XIEventMask& mask = masks.get()[i];
    if (mask.deviceid != XIAllMasterDevices || mask.mask_len <= XI_Motion / 8) continue;
    XIClearMask(mask.mask, XI_Motion);
    XISelectEvents(display, window, &mask, 1);
  }
}

void SetAxis(const XIValuatorClassInfo& valuator, PenAxis& axis) {
  if (axis.Index < 0) axis = {valuator.number, valuator.min, valuator.max};
}

}  // namespace

bool XInputPen::Open(void* display, unsigned long window, std::string& error) {
  Close();
  Display* x = static_cast<Display*>(display);
  int firstEvent, firstError, major = 2, minor = 2;
  if (!XQueryExtension(x, "XInputExtension", &m_Opcode, &firstEvent, &firstError)) {
    error = "the display has no XInput extension: pens work as mice, without pressure";
    return false;
  }
  const FaultGuard guard(x);
  if (XIQueryVersion(x, &major, &minor) != Success || guard.HadFault()) {
    error = "the display's XInput extension is older than 2.0: pens work as mice, without pressure";
    return false;
  }
  m_Display = display;
  m_Window = window;
  SelectEvents(x, DefaultRootWindow(x), XIAllDevices, {XI_HierarchyChanged});
  SelectCoreMotion(x, window);
  ListDevices();
  return true;
}

void XInputPen::Close() {
  if (!m_Display) return;
  Display* x = static_cast<Display*>(m_Display);
  {
    const FaultGuard guard(x);
    SelectEvents(x, DefaultRootWindow(x), XIAllDevices, {});
    for (const PenDevice& device : m_Pens.Devices()) SelectEvents(x, m_Window, device.Id, {});
  }
  m_Pens.SetDevices({});
  m_Display = nullptr;
}

std::vector<PenDevice> XInputPen::ReadDevices() const {
  Display* x = static_cast<Display*>(m_Display);
  int count = 0;
  const std::unique_ptr<XIDeviceInfo, void (*)(XIDeviceInfo*)> infos(XIQueryDevice(x, XIAllDevices, &count), XIFreeDeviceInfo);
  std::vector<PenDevice> devices;
  for (int i = 0; infos && i < count; ++i) {
    const XIDeviceInfo& info = infos.get()[i];
    if (!info.enabled || (info.use != XISlavePointer && info.use != XIFloatingSlave)) continue;
    PenDevice device;
    device.Id = info.deviceid;
    device.Name = info.name ? info.name : "";
    for (int k = 0; k < info.num_classes; ++k) {
      if (info.classes[k]->type != XIValuatorClass) continue;
      const XIValuatorClassInfo& valuator = *reinterpret_cast<const XIValuatorClassInfo*>(info.classes[k]);
      if (valuator.mode == XIModeAbsolute && valuator.number == AxisX) SetAxis(valuator, device.X);
      if (valuator.mode == XIModeAbsolute && valuator.number == AxisY) SetAxis(valuator, device.Y);
      switch (FindPenAxisKind(ReadAtom(x, valuator.label))) {
        case PenAxisKind::Pressure:
          SetAxis(valuator, device.Pressure);
          break;
        case PenAxisKind::TiltX:
          SetAxis(valuator, device.TiltX);
          break;
        case PenAxisKind::TiltY:
          SetAxis(valuator, device.TiltY);
          break;
        case PenAxisKind::Other:
          break;
      }
    }
    if (!device.Pressure.IsUsable()) continue;
    const std::string toolType = ReadToolType(x, device.Id);
    if (!IsPenTool(toolType)) continue;
    device.IsEraser = IsEraserTool(device.Name, toolType);
    devices.push_back(device);
  }
  return devices;
}

void XInputPen::ListDevices() {
  Display* x = static_cast<Display*>(m_Display);
  const FaultGuard guard(x);
  std::vector<PenDevice> devices = ReadDevices();
  for (const PenDevice& old : m_Pens.Devices())
    if (std::none_of(devices.begin(), devices.end(), [&](const PenDevice& device) { return device.Id == old.Id; }))
      comms::LogInfo("Pen gone: %s", old.Name.c_str());
  for (const PenDevice& device : devices) {
    if (!m_Pens.Has(device.Id)) comms::LogInfo("Pen: %s%s", device.Name.c_str(), device.IsEraser ? " (eraser)" : "");
    // The tool itself is asked and not the pointer that it moves: the pointer's own events stay with the mouse.
    SelectEvents(x, m_Window, device.Id, {XI_Motion, XI_ButtonPress, XI_ButtonRelease});
  }
  m_Pens.SetDevices(std::move(devices));
}

// The screen may get another size while the program runs, which the window is not told.
void XInputPen::MeasureDesktop(double nowSec) {
  if (m_MeasuredSec >= 0 && nowSec - m_MeasuredSec < DesktopKnownSec) return;
  Display* x = static_cast<Display*>(m_Display);
  Window root;
  int left, top;
  unsigned width = 0, height = 0, border, depth;
  // Axes span all screens of a server; where these are several, their places are not known.
  const bool isKnown =
      ScreenCount(x) == 1 && XGetGeometry(x, DefaultRootWindow(x), &root, &left, &top, &width, &height, &border, &depth);
  m_DesktopWidth = isKnown ? width : 0;
  m_DesktopHeight = isKnown ? height : 0;
  m_MeasuredSec = nowSec;
}

bool XInputPen::Handle(void* cookie, uint8_t modifiers, double nowSec, std::vector<InputEvent>& events) {
  const XGenericEventCookie& generic = *static_cast<const XGenericEventCookie*>(cookie);
  if (!m_Display || generic.extension != m_Opcode || !generic.data) return false;
  if (generic.evtype == XI_HierarchyChanged) {
    const XIHierarchyEvent& change = *static_cast<const XIHierarchyEvent*>(generic.data);
    constexpr int matters =
        XISlaveRemoved | XISlaveAdded | XISlaveAttached | XISlaveDetached | XIDeviceEnabled | XIDeviceDisabled;
    if (!(change.flags & matters)) return false;
    m_Pens.Release(nowSec, events);
    ListDevices();
    return true;
  }
  if (generic.evtype != XI_Motion && generic.evtype != XI_ButtonPress && generic.evtype != XI_ButtonRelease) return false;
  const XIDeviceEvent& report = *static_cast<const XIDeviceEvent*>(generic.data);
  if (!m_Pens.Has(report.deviceid)) return false;

  std::vector<std::pair<int, double>> values;
  const double* value = report.valuators.values;
  for (int i = 0; i < report.valuators.mask_len * 8; ++i)
    if (XIMaskIsSet(report.valuators.mask, i)) values.emplace_back(i, *value++);

  RawPenEvent raw;
  raw.What = generic.evtype == XI_Motion        ? RawPenEvent::Kind::Motion
             : generic.evtype == XI_ButtonPress ? RawPenEvent::Kind::Press
                                                : RawPenEvent::Kind::Release;
  raw.DeviceId = report.deviceid;
  raw.Button = report.detail;
  raw.X = report.event_x;
  raw.Y = report.event_y;
  raw.TimeSec = m_Clock.ToSeconds(uint32_t(report.time), nowSec);
  raw.Modifiers = modifiers;
  raw.Values = values;
  // The pointer follows a tool's report: the place of the report itself is where the pointer was before it.
  MeasureDesktop(nowSec);
  raw.Desktop = {report.event_x - report.root_x, report.event_y - report.root_y, m_DesktopWidth, m_DesktopHeight};
  m_Pens.Translate(raw, events);
  m_Recent[m_RecentCount++ % std::size(m_Recent)] = {uint32_t(report.time), generic.evtype};
  return true;
}

bool XInputPen::TakeShadow(uint32_t serverMs, int type) {
  // The server sends a tool's report first and then the pointer's, both with one time and XInput's types being the core's.
  const bool isCrossing = type == EnterNotify || type == LeaveNotify;
  for (unsigned i = 0; i < std::min<unsigned>(m_RecentCount, std::size(m_Recent)); ++i) {
    Report& report = m_Recent[i];
    if (report.ServerMs != serverMs) continue;
    if (isCrossing) return true;
    if (!report.HasShadow || report.Type != type) continue;
    report.HasShadow = false;
    return true;
  }
  return false;
}
