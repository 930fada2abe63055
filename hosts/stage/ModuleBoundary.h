// Whether the program is inside the module under test: so that what the module does can be told from what the host does
// on its behalf, when allocations are counted.
#pragma once

namespace ond::stage {

class ModuleBoundary {
  public:
    [[nodiscard]] static bool inside() { return s_inside; }

    /// For a call from the host into the module.
    class Enter {
      public:
        Enter() : m_before(s_inside) { s_inside = true; }
        Enter(const Enter&) = delete;
        Enter& operator=(const Enter&) = delete;
        ~Enter() { s_inside = m_before; }

      private:
        bool m_before;
    };

    /// For a call from the module into the host.
    class Pause {
      public:
        Pause() : m_before(s_inside) { s_inside = false; }
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;
        ~Pause() { s_inside = m_before; }

      private:
        bool m_before;
    };

  private:
    inline static thread_local bool s_inside = false;
};

}  // namespace ond::stage
