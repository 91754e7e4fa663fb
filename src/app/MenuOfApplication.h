#pragma once

#include <memory>

class QMenu;

namespace quillard::qt {
class QtApplication;
}

namespace quillard::app {

// The application's menu as one of Qt's, which the tray shows. Follows every change. Main thread.
class MenuOfApplication {
 public:
  // `application` outlives this.
  explicit MenuOfApplication(qt::QtApplication& application);
  ~MenuOfApplication();
  MenuOfApplication(const MenuOfApplication&) = delete;
  MenuOfApplication& operator=(const MenuOfApplication&) = delete;

  // Owned by this.
  [[nodiscard]] QMenu* menu() const { return shown.get(); }

 private:
  void fill();

  qt::QtApplication& application;
  std::unique_ptr<QMenu> shown;
};

}  // namespace quillard::app
