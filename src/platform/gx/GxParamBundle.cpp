// SPDX-License-Identifier: BSD-3-Clause

#include <gx/GxParamBundle.h>

#include <cstddef>
#include <utility>

GxParamBundle::GxParamBundle(const KtString& name) : GxParamBase(name) {}

GxParamBundle::~GxParamBundle() = default;

bool GxParamBundle::isBundle() const {
  return true;
}

int GxParamBundle::count() const {
  return static_cast<int>(params_.size());
}

const GxParamBase* GxParamBundle::param(int i) const {
  return i >= 0 && i < count() ? params_[static_cast<std::size_t>(i)].get() : nullptr;
}

const GxParamBundle* GxParamBundle::childBundle(const char* name) const {
  if (name == nullptr) {
    return nullptr;
  }
  const KtString wanted(name);
  for (const auto& param : params_) {
    // Asked of the class and not of isBundle(), which a host's own parameters may answer as they
    // like.
    const auto* const bundle = dynamic_cast<const GxParamBundle*>(param.get());
    if (bundle != nullptr && bundle->name() == wanted) {
      return bundle;
    }
  }
  return nullptr;
}

GxParameter& GxParamBundle::addParameter(const KtString& name, const char* text) {
  params_.push_back(std::make_unique<GxParameter>(name, text));
  return static_cast<GxParameter&>(*params_.back());
}

GxParamBundle& GxParamBundle::addBundle(const KtString& name) {
  params_.push_back(std::make_unique<GxParamBundle>(name));
  return static_cast<GxParamBundle&>(*params_.back());
}

void GxParamBundle::add(std::unique_ptr<GxParamBase> param) {
  if (param != nullptr) {
    params_.push_back(std::move(param));
  }
}
