#pragma once
// A second OBJ reader for the tests: one character after the other, one line after the other, nothing clever. Material libraries
// are left out.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "comms/NumberText.h"
#include "comms/cRawMesh.h"

class ObjReference {
 public:
  explicit ObjReference(const std::string& text) : m_Text(text) {}

  bool Read(comms::cRawMesh& mesh) {
    int object = -1, material = 0;
    while (ReadLine()) {
      if (m_Tokens.empty()) continue;
      const std::string& word = m_Tokens[0];
      const size_t count = m_Tokens.size();
      if (word == "#MRGB" || word == "#pivot") {
        if (word == "#pivot" && count == 4 && object >= 0) {
          mesh.Objects[size_t(object)].Pivot = ReadVec3();
          mesh.Objects[size_t(object)].HasPivot = true;
        }
        AddColors(mesh);
      }
      if (count >= 21 && word == "#" && m_Tokens[1] == "matrix4x4") {
        comms::cRawObject instance;
        instance.Name = "NewInstance|" + Unquote(m_Tokens[4]) + "|" + Unquote(m_Tokens[2]);
        for (size_t i = 0; i < 16; i++) instance.Matrix.m[i / 4][i % 4] = comms::ParseFloat(m_Tokens[5 + i]);
        object = int(mesh.Objects.size());
        mesh.Objects.push_back(instance);
        continue;
      }
      if ((word == "g" || word == "o") && count >= 2) object = FindOrAdd(mesh.Objects, m_Tokens[1]);
      if (word == "v" && count < 4) return Fail("cMeshObj::DecodeObj(): Too few position coordinates");
      if (word == "vt" && count < 3) return Fail("cMeshObj::DecodeObj(): Too few texture coordinates");
      if (word == "vn" && count < 4) return Fail("cMeshObj::DecodeObj(): Too few normal coordinates");
      if (word == "v") mesh.Positions.push_back(ReadVec3());
      if (word == "vt") mesh.TexCoords.push_back({comms::ParseFloat(m_Tokens[1]), comms::ParseFloat(m_Tokens[2])});
      if (word == "vn") mesh.Normals.push_back(ReadVec3());
      if (word == "f" && count >= 4) {
        if (object < 0) object = FindOrAdd(mesh.Objects, "default");
        if (!ReadPolygon(mesh, material, object)) return Fail("cMeshObj: Zero indices not allowed");
      }
      if (word == "usemtl" && count >= 2) material = FindOrAdd(mesh.Materials, m_Tokens[1]);
    }
    if (mesh.Materials.empty()) FindOrAdd(mesh.Materials, "default");
    return true;
  }

  const std::string& Message() const { return m_Message; }

 private:
  bool Fail(const std::string& what) {
    m_Message = what + ": \"" + m_Line + "\".";
    return false;
  }

  bool ReadLine() {
    m_Line.clear();
    m_Tokens.clear();
    while (m_At < m_Text.size() && m_Line.size() < 2047) {
      const char c = m_Text[m_At++];
      if (c != '\r' && c != '\n')
        m_Line += c;
      else if (!m_Line.empty() && m_Line.back() == '\\')
        m_Line.back() = ' ';
      else if (!m_Line.empty())
        break;
    }
    if (m_Line.empty()) return false;
    if (!m_Line.starts_with("# matrix4x4") && !m_Line.starts_with("#MRGB") && !m_Line.starts_with("#pivot"))
      m_Line = m_Line.substr(0, m_Line.find('#'));
    for (size_t at = 0, end; (at = m_Line.find_first_not_of(" \t", at)) != std::string::npos; at = end) {
      end = std::min(m_Line.find_first_of(" \t", at), m_Line.size());
      m_Tokens.push_back(m_Line.substr(at, std::min<size_t>(end - at, 126)));
      if (m_Tokens.size() < 256) continue;
      m_Tokens.resize(5);
      break;
    }
    return true;
  }

  comms::cVec3 ReadVec3() const {
    return {comms::ParseFloat(m_Tokens[1]), comms::ParseFloat(m_Tokens[2]), comms::ParseFloat(m_Tokens[3])};
  }

  void AddColors(comms::cRawMesh& mesh) const {
    for (size_t at = m_Line.find_first_not_of(' ', m_Line.find(' ')); at < m_Line.size() && at + 8 <= m_Line.size(); at += 8) {
      unsigned color = 0xFF808080u;
      std::sscanf(m_Line.substr(at, 8).c_str(), "%X", &color);
      mesh.VertexColors.push_back(color);
    }
  }

  static std::string Unquote(std::string name) {
    if (!name.empty() && name[0] == '"') name.erase(0, 1);
    if (!name.empty() && name.back() == '"') name.pop_back();
    return name;
  }

  static int FindOrAdd(auto& list, const std::string& name) {
    const auto found = std::find_if(list.begin(), list.end(), [&](const auto& element) { return element.Name == name; });
    const int index = int(found - list.begin());
    if (found == list.end()) list.emplace_back().Name = name;
    return index;
  }

  bool ReadPolygon(comms::cRawMesh& mesh, int material, int object) const {
    mesh.Polygons.push_back({{int(m_Tokens.size()) - 1, material, object}});
    for (size_t i = 1; i < m_Tokens.size(); i++) {
      long index[3] = {-1, -1, -1};
      std::istringstream fields(m_Tokens[i]);
      size_t number = 0;
      for (std::string field; std::getline(fields, field, '/'); number++)
        if (!field.empty()) index[std::min<size_t>(number, 2)] = std::clamp(std::atol(field.c_str()), -2147483647L, 2147483647L);
      if (index[0] == 0) return false;
      const size_t counts[3] = {mesh.Positions.size(), mesh.TexCoords.size(), mesh.Normals.size()};
      comms::cRawPolyRec corner;
      for (int k = 0; k < 3; k++)
        corner.Words[k] = int(index[k] > 0 ? index[k] - 1 : index[k] < 0 ? index[k] + long(counts[k]) : 0);
      mesh.Polygons.push_back(corner);
    }
    return true;
  }

  const std::string m_Text;
  size_t m_At = 0;
  std::string m_Line, m_Message;
  std::vector<std::string> m_Tokens;
};
