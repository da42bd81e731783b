// Filling the placeholders of a document template.
#ifndef DOCGEN_DGTEMPLATE_H
#define DOCGEN_DGTEMPLATE_H

#include <map>
#include <stdexcept>
#include <string>

/// A template that does not fit the values given for it.
class DgTemplateError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/// Template with every "@KEY@" replaced by Values[KEY]. A key is one or more
/// upper-case letters, digits or underscores. Raises DgTemplateError for a
/// placeholder that has no value and for a value whose placeholder does not
/// occur, so that a template and its generator cannot drift apart silently.
/// Any other "@" is kept as it stands.
std::string DgFillTemplate(const std::string &Template,
                           const std::map<std::string, std::string> &Values);

#endif
