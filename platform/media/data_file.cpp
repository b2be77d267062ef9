#include "platform/media/data_file.h"

#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace kinora::media {
namespace {

constexpr int kDepth = 16;

}  // namespace

void DataFile::Refuse(const std::string& what) const { throw std::runtime_error(subject_ + ": " + what); }

std::string DataFile::Read(const std::string& path) const {
  std::ifstream in(path, std::ios::binary);
  if (!in) Refuse("cannot open " + path);
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  if (in.bad()) Refuse("cannot read " + path);
  return text;
}

Json::Value DataFile::Parse(std::string_view text) const {
  Json::CharReaderBuilder builder;
  builder["stackLimit"] = kDepth;
  builder["failIfExtra"] = true;
  builder["rejectDupKeys"] = true;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value json;
  std::string errors;
  try {
    if (!reader->parse(text.data(), text.data() + text.size(), &json, &errors)) Refuse(errors);
  } catch (const Json::Exception& error) {
    Refuse(error.what());
  }
  if (!json.isObject()) Refuse("the file holds no object");
  return json;
}

const Json::Value* DataFile::Find(const Json::Value& object, const std::string& name) {
  return object.find(name.data(), name.data() + name.size());
}

std::string DataFile::TextAt(const Json::Value& object, const std::string& name) const {
  const Json::Value* const value = Find(object, name);
  if (value == nullptr || !value->isString()) Refuse("\"" + name + "\" is no text");
  return value->asString();
}

bool DataFile::FlagAt(const Json::Value& object, const std::string& name) const {
  const Json::Value* const value = Find(object, name);
  if (value == nullptr) return false;
  if (!value->isBool()) Refuse("\"" + name + "\" is neither true nor false");
  return value->asBool();
}

int64_t DataFile::NumberAt(const Json::Value& object, const std::string& name, int64_t least,
                           int64_t most) const {
  const Json::Value* const value = Find(object, name);
  if (value == nullptr || !value->isInt64()) Refuse("\"" + name + "\" is no whole number");
  const int64_t number = value->asInt64();
  if (number < least || number > most) Refuse("\"" + name + "\" is out of its range");
  return number;
}

const Json::Value& DataFile::ListAt(const Json::Value& object, const std::string& name) const {
  const Json::Value* const value = Find(object, name);
  if (value == nullptr || !value->isArray()) Refuse("\"" + name + "\" is no list");
  return *value;
}

std::vector<std::string> DataFile::TextsAt(const Json::Value& object, const std::string& name) const {
  std::vector<std::string> texts;
  for (const Json::Value& item : ListAt(object, name)) {
    if (!item.isString()) Refuse("\"" + name + "\" holds something that is no text");
    texts.push_back(item.asString());
  }
  return texts;
}

}  // namespace kinora::media
