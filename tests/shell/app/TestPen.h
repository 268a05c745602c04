#pragma once
// A display with a pen and its eraser that the test moves: the X server on no hardware, with its own driver for tests.
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "shell/VirtualDisplay.h"

/// 1600 by 1000 pixels. The devices' sockets lie in the folder, by their names, beside the server's log.
class PenDisplay {
 public:
  static constexpr const char* Program = "/usr/lib/xorg/Xorg";
  explicit PenDisplay(const std::filesystem::path& folder)
      : m_Config(folder / "xorg.conf"), m_Log(folder / "xorg.log"), m_Server(Configure(folder)) {}
  bool IsThere() const { return !m_Server.Address.empty(); }

 private:
  std::vector<const char*> Configure(const std::filesystem::path& folder) const {
    std::ofstream file(m_Config);
    file << R"(Section "ServerFlags" Option "AutoAddDevices" "false" Option "AutoAddGPU" "false" EndSection
Section "Device" Identifier "Card" Driver "dummy" VideoRam 8192 EndSection
Section "Monitor" Identifier "Monitor" HorizSync 5-1000 VertRefresh 5-200
  Modeline "1600x1000" 132.25 1600 1696 1864 2128 1000 1003 1009 1038
EndSection
Section "Screen" Identifier "Screen" Device "Card" Monitor "Monitor" DefaultDepth 24
  SubSection "Display" Modes "1600x1000" EndSubSection
EndSection
Section "ServerLayout" Identifier "Layout" InputDevice "Mouse" "CorePointer" InputDevice "Keys" "CoreKeyboard"
  InputDevice "Pen" "SendCoreEvents" InputDevice "Pen eraser" "SendCoreEvents"
EndSection
)";
    const char* pen = "\"PointerAbsoluteProximity\" Option \"PointerHasPressure\" \"true\"";
    for (const auto& [name, type] :
         {std::pair("Mouse", "\"Pointer\""), {"Keys", "\"Keyboard\""}, {"Pen", pen}, {"Pen eraser", pen}})
      file << "Section \"InputDevice\" Identifier \"" << name << "\" Driver \"inputtest\" Option \"SocketPath\" " << folder / name
           << " Option \"DeviceType\" " << type << " EndSection\n";
    return {Program,       "-displayfd",  "3",         "-config",  m_Config.c_str(), "-logfile",
            m_Log.c_str(), "-novtswitch", "-sharevts", "-noreset", "-nolisten",      "tcp"};
  }

  const std::string m_Config, m_Log;
  TestServer m_Server;
  TestVariable m_Display{"DISPLAY", ":" + m_Server.Address}, m_Driver{"SDL_VIDEODRIVER", "x11"};
};

/// One of its pens. The messages are those of the driver, `inputtest`.
class TestPen {
 public:
  explicit TestPen(const std::string& path) : m_Socket(socket(AF_UNIX, SOCK_STREAM, 0)) {
    const timeval patience{60, 0};
    setsockopt(m_Socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    sockaddr_un address{AF_UNIX, {}};
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    m_Works = connect(m_Socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    Ask({12, 0, 0x10001}, 12);  // the version
  }
  ~TestPen() { close(m_Socket); }

  /// A place in pixels of the screen and a pressure of 0 .. 1.
  void Move(double x, double y, double pressure) { Tell<1>(2, {1}, 0b10011, x * 65536 / 1600, y * 65536 / 1000, pressure); }
  void Press(double pressure) { Tell<3>(4, {1, 1, 1}, 0b10000, 0, 0, pressure); }
  void Lift() { Tell<3>(4, {1, 1, 0}, 0b10000, 0, 0, 0); }
  /// Waits until the server has taken it all. False where anything went wrong.
  bool Finish() { return Ask({8, 1}, 8); }

 private:
  /// `words` belong to the kind of message; behind them stand the valuators: which, and what they are.
  template <int Words>
  void Tell(uint32_t type, const uint32_t (&words)[Words], uint8_t which, double x, double y, double pressure) {
    struct {
      uint32_t Length = sizeof(*this), Type, Head[Words];
      alignas(8) uint32_t HasRaw = 0;
      uint8_t Mask[8] = {};
      double Values[64] = {}, Raw[64] = {};
    } message;
    message.Type = type;
    std::copy(words, words + Words, message.Head);
    message.Mask[0] = which;
    message.Values[0] = x, message.Values[1] = y, message.Values[4] = pressure * 1000;
    m_Works = m_Works && send(m_Socket, &message, sizeof(message), MSG_NOSIGNAL) == ssize_t(sizeof(message));
  }
  template <int Words>
  bool Ask(const uint32_t (&words)[Words], size_t answerSize) {
    char answer[16];
    m_Works = m_Works && send(m_Socket, words, sizeof(words), MSG_NOSIGNAL) == ssize_t(sizeof(words));
    return m_Works = m_Works && recv(m_Socket, answer, answerSize, MSG_WAITALL) == ssize_t(answerSize);
  }

  int m_Socket;
  bool m_Works = false;
};
