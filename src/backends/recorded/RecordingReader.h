#pragma once

#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "backends/recorded/RecordedDesktop.h"

namespace jumplark {

/// Reads a recording event by event, so that only one element's JSON exists at a time. Throws RecordingError from any
/// callback. One reader reads one text.
class RecordingReader : public nlohmann::json_sax<nlohmann::json> {
 public:
  RecordingReader(std::string_view text, std::string sourceName);
  RecordedDesktop read();

  bool null() override { return value(nullptr); }
  bool boolean(bool v) override { return value(v); }
  bool number_integer(number_integer_t v) override { return value(v); }
  bool number_unsigned(number_unsigned_t v) override { return value(v); }
  bool number_float(number_float_t v, const string_t& /*text*/) override { return value(v); }
  bool string(string_t& v) override { return value(std::move(v)); }
  bool binary(binary_t& /*v*/) override { return false; }
  bool start_object(size_t /*size*/) override { return open(nlohmann::json::object()); }
  bool end_object() override { return close(); }
  bool start_array(size_t /*size*/) override { return open(nlohmann::json::array()); }
  bool end_array() override { return close(); }
  bool key(string_t& name) override;
  bool parse_error(size_t position, const std::string& token, const nlohmann::json::exception& error) override;

 private:
  /// What the next value is: the whole file, a member of it, an element, or a part of one of these.
  enum class Place { file, member, element, inside };
  /// How a place reads, put together only where it is told.
  using PlaceText = std::function<std::string()>;

  Place place() const;
  bool value(nlohmann::json v);
  bool open(nlohmann::json container);
  bool close();
  nlohmann::json& insert(nlohmann::json v);
  void finish(Place where, const nlohmann::json& v);

  void readMember(const nlohmann::json& v);
  void readScreens(const nlohmann::json& v);
  void readApplications(const nlohmann::json& v);
  RecordedApplication application(const nlohmann::json& v, const std::string& where);
  void readHits(const nlohmann::json& v);
  void readElement(const nlohmann::json& v);
  void readAttributes(RecordedElement& element, const nlohmann::json& v);
  void readParameterized(RecordedElement& element, const nlohmann::json& v);
  std::vector<RecordedAnswer> answers(const nlohmann::json& v, const PlaceText& where);
  void checkReferences() const;
  void chooseDefaults();

  /// A reference, noted with the place that it stands in.
  ElementRef reference(const std::string& id, const PlaceText& where);
  [[noreturn]] void fail(const std::string& message) const;
  std::string elementPlace(const std::string& attribute = {}) const;

  std::string_view text_;
  std::string sourceName_;
  RecordedDesktop desktop_;

  size_t depth_ = 0;  ///< open objects and lists
  bool inElements_ = false;
  std::string memberName_;
  std::string elementId_;
  std::set<std::string> membersSeen_;
  std::map<std::string, std::string> missing_;  ///< ids that no element has yet, and where they were first mentioned

  nlohmann::json captured_;               ///< the member or element being read
  std::vector<nlohmann::json*> capture_;  ///< its open objects and lists
  std::string captureKey_;
};

}  // namespace jumplark
