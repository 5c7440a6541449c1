#include "page.h"

#include <libxml/HTMLparser.h>

#include <boost/algorithm/string/predicate.hpp>
#include <map>
#include <set>
#include <string_view>

#include "../text.h"
#include "../xml_text.h"

namespace agent {
namespace {

constexpr std::size_t kMaxLines = 200;

bool HasAttribute(const xmlNode* element, const char* name) {
  return xmlHasProp(element, reinterpret_cast<const xmlChar*>(name)) != nullptr;
}

class PageParser {
 public:
  Page Parse(const xmlNode* root) {
    if (root) Visit(root);
    EndLine();
    for (Form& form : forms_) {
      if (form.buttons.empty()) continue;
      page_.form = std::move(form);
      break;
    }
    return std::move(page_);
  }

 private:
  void Visit(const xmlNode* node) {
    if (node->type == XML_TEXT_NODE) line_ += ToString(node->content);
    const std::string_view name = ElementName(node);
    if (name.empty()) return;
    static const std::set<std::string_view> kInvisible{"noscript", "script", "style", "template"};
    if (kInvisible.contains(name)) return;
    if (name == "title") {
      page_.title = GetText(node);
    } else if (name == "label") {
      labels_[GetAttribute(node, "for")] = GetText(node);
    } else if (name == "form") {
      forms_.push_back(BeginForm(node));
      VisitChildren(node);
      in_form_ = false;
    } else if (!ParseControl(node, name)) {
      VisitElement(node, name);
    }
  }

  void VisitChildren(const xmlNode* node) {
    for (const xmlNode* child = node->children; child; child = child->next) Visit(child);
  }

  void VisitElement(const xmlNode* node, std::string_view name) {
    static const std::set<std::string_view> kInline{"a",    "b",      "em", "i", "small",
                                                    "span", "strong", "td", "th"};
    const bool block = !kInline.contains(name);
    if (block) EndLine();
    VisitChildren(node);
    line_ += ' ';
    if (block) EndLine();
  }

  void EndLine() {
    const std::string line = NormalizeSpace(line_);
    if (!line.empty() && page_.lines.size() < kMaxLines) page_.lines.push_back(line);
    line_.clear();
  }

  Form BeginForm(const xmlNode* node) {
    EndLine();
    in_form_ = true;
    return {
        GetAttribute(node, "action"), boost::iequals(GetAttribute(node, "method"), "post"), {}, {}};
  }

  /// \return whether the element is a control. Controls outside of forms are ignored.
  bool ParseControl(const xmlNode* node, std::string_view name) {
    const std::string type = GetAttribute(node, "type");
    if (name == "button") {
      if (type.empty() || type == "submit") AddButton(node, GetText(node));
    } else if (name == "input") {
      ParseInput(node, type);
    } else if (name == "textarea") {
      AddField(node, GetText(node), false);
    } else if (name == "select") {
      AddField(node, SelectedValue(node), true);
    } else {
      return false;
    }
    return true;
  }

  void ParseInput(const xmlNode* node, const std::string& type) {
    const std::string value = GetAttribute(node, "value");
    if (type == "submit" || type == "image") {
      AddButton(node, NormalizeSpace(value.empty() ? "Send" : value));
    } else if (type == "checkbox" || type == "radio") {
      if (HasAttribute(node, "checked")) AddField(node, value.empty() ? "on" : value, true);
    } else if (type != "button" && type != "reset" && type != "file") {
      AddField(node, value, type == "hidden");
    }
  }

  void AddButton(const xmlNode* node, const std::string& label) {
    if (!in_form_ || HasAttribute(node, "disabled")) return;
    forms_.back().buttons.push_back(
        {GetAttribute(node, "name"), GetAttribute(node, "value"), label});
  }

  void AddField(const xmlNode* node, const std::string& value, bool hidden) {
    const std::string name = GetAttribute(node, "name");
    if (!in_form_ || name.empty() || HasAttribute(node, "disabled")) return;
    Field field{name, value, "", GetAttribute(node, "autocomplete"), hidden};
    if (!hidden) {
      const auto label = labels_.find(GetAttribute(node, "id"));
      const std::string placeholder = NormalizeSpace(GetAttribute(node, "placeholder"));
      field.label =
          label != labels_.end() && !label->second.empty() ? label->second : NormalizeSpace(name);
      if (!placeholder.empty()) field.label += " (" + placeholder + ")";
    }
    forms_.back().fields.push_back(std::move(field));
  }

  static std::string SelectedValue(const xmlNode* select) {
    std::optional<std::string> value;
    for (const xmlNode* option = select->children; option; option = option->next) {
      if (ElementName(option) != "option") continue;
      const bool selected = HasAttribute(option, "selected");
      if (value && !selected) continue;
      value = HasAttribute(option, "value") ? GetAttribute(option, "value") : GetText(option);
      if (selected) break;
    }
    return value.value_or("");
  }

  Page page_;
  std::string line_;
  std::map<std::string, std::string> labels_;  // by the id of the control
  std::vector<Form> forms_;
  bool in_form_ = false;
};

}  // namespace

Page ParsePage(const std::string& html, const std::string& charset) {
  const bool declared = !charset.empty() || html.find("charset") != std::string::npos;
  const char* encoding = !charset.empty() ? charset.c_str() : declared ? nullptr : "UTF-8";
  const int options =
      HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET;
  const XmlDocument document(
      htmlReadMemory(html.data(), static_cast<int>(html.size()), nullptr, encoding, options));
  return PageParser().Parse(document ? xmlDocGetRootElement(document.get()) : nullptr);
}

}  // namespace agent
