// Building the page. Text becomes text nodes only; markup is never parsed, so no name or title can become any.

export type Child = Node | string | undefined | false;
export type Attributes = Record<string, string | number | boolean | undefined | ((event: never) => void)>;

// A function is a listener ("onclick"), true an attribute without a value, false or undefined none.
export function set(element: Element, attributes: Attributes): void {
  for (const [name, value] of Object.entries(attributes)) {
    if (typeof value === "function") element.addEventListener(name.slice(2), value as unknown as EventListener);
    else if (value === false || value === undefined) element.removeAttribute(name);
    else element.setAttribute(name, value === true ? "" : String(value));
  }
}

export function h<Tag extends keyof HTMLElementTagNameMap>(
  tag: Tag,
  attributes: Attributes = {},
  ...children: Child[]
): HTMLElementTagNameMap[Tag] {
  const element = document.createElement(tag);
  set(element, attributes);
  element.append(...children.filter((child): child is Node | string => child !== undefined && child !== false));
  return element;
}

// Is this a place where keys mean typing?
export function takesText(target: EventTarget | null): boolean {
  if (!(target instanceof HTMLElement)) return false;
  if (target instanceof HTMLInputElement) return !["range", "checkbox", "radio", "button"].includes(target.type);
  return target instanceof HTMLTextAreaElement || target instanceof HTMLSelectElement || target.isContentEditable;
}
