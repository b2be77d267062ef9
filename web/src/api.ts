// The web API: one address; parameters api, version, method and the method's own; answers in JSON,
// {"result": ...} or {"error": {"code", "message"}}. What changes something is sent as a form with the token.

export const kAddress = "/webapi/entry.cgi";
export const kVersion = "1";

const kBusy = 503; // of HTTP

export const kNotSignedIn = 124;
export const kTokenRefused = 125;
export const kWrongPassword = 126;
export const kTooManyAttempts = 127;

// The server understood the request and refused it.
export class Refusal extends Error {
  constructor(
    readonly code: number,
    message: string,
  ) {
    super(message);
  }
}

// No answer at all, or one that is not the API's: the server is down, or something stands between.
export class Unreachable extends Error {}

export type Parameters = Record<string, string | number | undefined>;

export function encode(api: string, method: string, own: Parameters = {}): URLSearchParams {
  const all = new URLSearchParams({ api: `CRVN.Kinora2.${api}`, version: kVersion, method });
  for (const [name, value] of Object.entries(own)) {
    if (value !== undefined) all.set(name, String(value));
  }
  return all;
}

export function addressOf(api: string, method: string, own: Parameters = {}): string {
  return `${kAddress}?${encode(api, method, own)}`;
}

// The result that an answer's body holds. Throws Refusal, or Unreachable for a body that is no answer.
export function readAnswer(body: string): unknown {
  let answer: unknown;
  try {
    answer = JSON.parse(body);
  } catch {
    throw new Unreachable("the answer is not the server's");
  }
  if (typeof answer !== "object" || answer === null) throw new Unreachable("the answer is not the server's");
  if ("error" in answer) {
    const error = answer.error as { code?: unknown; message?: unknown } | null;
    throw new Refusal(Number(error?.code ?? 100), String(error?.message ?? ""));
  }
  if (!("result" in answer)) throw new Unreachable("the answer is not the server's");
  return answer.result;
}

export class WebApi {
  // Proves that a request was made by this page; comes with signing in.
  token = "";
  // Called when a request is refused because nobody is signed in any more.
  onSessionEnd: () => void = () => undefined;

  async get<Result>(api: string, method: string, own: Parameters = {}, signal?: AbortSignal): Promise<Result> {
    return (await this.request(addressOf(api, method, own), { signal: signal ?? null })) as Result;
  }

  // For methods that answer with a text of their own; what refuses is an answer as any other.
  async postText(api: string, method: string, own: Parameters, signal: AbortSignal): Promise<string> {
    const { status, body } = await this.fetch(kAddress, { method: "POST", body: this.form(api, method, own), signal });
    if (status === kBusy) throw new Unreachable("the server has too much to do");
    if (status >= 400) this.read(body);
    return body;
  }

  async post<Result>(api: string, method: string, own: Parameters = {}): Promise<Result> {
    try {
      return await this.send<Result>(api, method, own);
    } catch (error) {
      // Signing in again in another tab gave this browser a new session, and with it a new token.
      if (!(error instanceof Refusal) || error.code !== kTokenRefused || this.token === "") throw error;
      this.token = (await this.get<{ token: string }>("Session", "whoami")).token;
      return this.send<Result>(api, method, own);
    }
  }

  // For the moment in which the page is left: the browser sends it even if the page is gone. No answer.
  postAndForget(api: string, method: string, own: Parameters): void {
    fetch(kAddress, { method: "POST", body: this.form(api, method, own), keepalive: true }).catch(() => undefined);
  }

  private async send<Result>(api: string, method: string, own: Parameters): Promise<Result> {
    return (await this.request(kAddress, { method: "POST", body: this.form(api, method, own) })) as Result;
  }

  private form(api: string, method: string, own: Parameters): URLSearchParams {
    return encode(api, method, { ...own, CrvnToken: this.token || undefined });
  }

  private async request(address: string, init: RequestInit): Promise<unknown> {
    return this.read((await this.fetch(address, init)).body);
  }

  private async fetch(address: string, init: RequestInit): Promise<{ status: number; body: string }> {
    try {
      const response = await fetch(address, { ...init, credentials: "same-origin", cache: "no-store" });
      return { status: response.status, body: await response.text() };
    } catch (error) {
      if (error instanceof DOMException && error.name === "AbortError") throw error;
      throw new Unreachable("no answer");
    }
  }

  private read(body: string): unknown {
    try {
      return readAnswer(body);
    } catch (error) {
      if (error instanceof Refusal && error.code === kNotSignedIn) this.onSessionEnd();
      throw error;
    }
  }
}
