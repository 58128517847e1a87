// Light and dark: as the system has it, until the button is pressed.

/** @param changed called at once, and after each change */
export function startTheme(button: HTMLButtonElement, changed: (isDark: boolean) => void): void {
  const system = window.matchMedia('(prefers-color-scheme: dark)');
  let chosen: boolean | null = null;
  const apply = () => {
    const isDark = chosen ?? system.matches;
    document.documentElement.classList.toggle('dark', isDark);
    button.textContent = isDark ? 'Light' : 'Dark';
    changed(isDark);
  };
  button.addEventListener('click', () => {
    chosen = !document.documentElement.classList.contains('dark');
    apply();
  });
  system.addEventListener('change', apply);
  apply();
}
