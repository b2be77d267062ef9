// A start address holds a secret that signs one browser in, once: `/?welcome=SECRET`.

// The secret and the address without it; nothing when the address holds none.
export function takeWelcome(address: string): { secret: string; rest: string } | undefined {
  const url = new URL(address);
  const secret = url.searchParams.get("welcome");
  if (secret === null) return undefined;
  url.searchParams.delete("welcome");
  return { secret, rest: `${url.pathname}${url.search}${url.hash}` };
}
