// Who is signed in. The session itself is a cookie that scripts cannot read.
import { kNotSignedIn, Refusal, type WebApi } from "./api.ts";

export interface Account {
  id: number;
  name: string;
  administrator: boolean;
}

interface SessionAnswer {
  account: Account;
  token: string;
}

async function start(api: WebApi, how: { user: string; password: string } | { welcome: string }): Promise<Account> {
  const answer = await api.post<SessionAnswer>("Session", "sign_in", { ...how });
  api.token = answer.token;
  return answer.account;
}

export function signIn(api: WebApi, user: string, password: string): Promise<Account> {
  return start(api, { user, password });
}

export function signInByWelcome(api: WebApi, welcome: string): Promise<Account> {
  return start(api, { welcome });
}

// The account of the session that the browser already has; nothing when there is none.
export async function whoAmI(api: WebApi): Promise<Account | undefined> {
  try {
    const answer = await api.get<SessionAnswer>("Session", "whoami");
    api.token = answer.token;
    return answer.account;
  } catch (error) {
    if (error instanceof Refusal && error.code === kNotSignedIn) return undefined;
    throw error;
  }
}

export async function signOut(api: WebApi): Promise<void> {
  await api.post("Session", "sign_out");
  api.token = "";
}
