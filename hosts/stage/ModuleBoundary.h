// Whether the program is inside the vehicle module: so that what the module does can be told from what the host does on
// its behalf, and so that no call into the module is made while one waits for the host.
#pragma once

namespace ond::stage {

class ModuleBoundary {
  public:
    [[nodiscard]] static bool inside() { return s_inside; }
    /// Whether a call into the module is under way, also while the module waits for the host.
    [[nodiscard]] static bool underWay() { return s_calls > 0; }

    /// For a call from the host into the module.
    class Enter {
      public:
        Enter() : m_before(s_inside) {
            s_inside = true;
            ++s_calls;
        }
        Enter(const Enter&) = delete;
        Enter& operator=(const Enter&) = delete;
        ~Enter() {
            s_inside = m_before;
            --s_calls;
        }

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
    inline static thread_local int s_calls = 0;
};

}  // namespace ond::stage
