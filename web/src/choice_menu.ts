// A menu of one group of choices or several, from each of which one is taken.
import { Menu, menuGroup, menuItem, type MenuLook } from "./menu.ts";

export interface Choice {
  label: string;
  detail: string;
}

export interface Group {
  title: string;
  choices: readonly Choice[];
  chosen: number;
}

export class ChoiceMenu extends Menu {
  constructor(
    look: MenuLook,
    private readonly onPick: (index: number, group: number) => void,
    onMove: () => void,
  ) {
    super(look, onMove);
  }

  // Fewer than two choices are none: the group goes away, and the button when there is no other one.
  offer(...groups: readonly Group[]): void {
    const parts = groups.map((group, place) => (group.choices.length < 2 ? undefined : this.group(group, place)));
    this.fill(...parts.filter((part) => part !== undefined));
  }

  private group({ title, choices, chosen }: Group, place: number): HTMLElement {
    const item = (choice: Choice, index: number) => {
      const act = () => {
        this.close();
        if (index !== chosen) this.onPick(index, place);
      };
      return menuItem({ ...choice, picture: "tick", chosen: index === chosen, act });
    };
    return menuGroup(title, ...choices.map(item));
  }
}
