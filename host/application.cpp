#include "host/application.h"

#include "host/output.h"

#include <iostream>

namespace host {

int Application::DoMessageBox(LPCSTR text, UINT /*type*/, UINT /*helpId*/) {
    if (m_held != nullptr) {
        m_held->push_back(oneLine(text));
        return IDOK;
    }
    std::cerr << "tarvix: " << oneLine(text) << '\n';
    m_messageShown = true;
    return IDOK;
}

Application& application() {
    static Application instance;
    return instance;
}

HeldMessages::HeldMessages() {
    application().m_held = &texts;
}

HeldMessages::~HeldMessages() {
    application().m_held = nullptr;
}

} // namespace host
