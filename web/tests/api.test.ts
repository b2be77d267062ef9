import assert from "node:assert/strict";
import { afterEach, test } from "node:test";
import { addressOf, encode, readAnswer, Refusal, Unreachable, WebApi } from "../src/api.ts";

const kFetch = globalThis.fetch;
afterEach(() => {
  globalThis.fetch = kFetch;
});

// Answers in turn; the bodies that were sent are noted.
function answering(...answers: unknown[]): URLSearchParams[] {
  const sent: URLSearchParams[] = [];
  globalThis.fetch = (async (address: string, init: RequestInit) => {
    sent.push((init.body as URLSearchParams | undefined) ?? new URL(address, "http://k").searchParams);
    return new Response(JSON.stringify(answers.shift()));
  }) as typeof fetch;
  return sent;
}

test("Address.HoldsApiVersionMethodAndOwnParameters", () => {
  assert.equal(
    addressOf("Film", "picture", { id: 7, width: 320 }),
    "/webapi/entry.cgi?api=CRVN.Kinora2.Film&version=1&method=picture&id=7&width=320",
  );
});

test("Address.LeavesOutWhatIsUndefinedAndEncodesTheRest", () => {
  assert.equal(encode("Catalog", "list", { search: "a&b=ü", sort: undefined }).toString().split("list")[1], "&search=a%26b%3D%C3%BC");
});

test("Answer.GivesTheResult", () => {
  assert.deepEqual(readAnswer('{"result":{"total":2}}'), { total: 2 });
});

test("Answer.ThrowsTheServersRefusalWithItsCode", () => {
  assert.throws(() => readAnswer('{"error":{"code":1203,"message":"no room"}}'), (error) => {
    assert.ok(error instanceof Refusal);
    assert.deepEqual([error.code, error.message], [1203, "no room"]);
    return true;
  });
});

for (const body of ["", "<html>Bad gateway</html>", "null", "[]", '"text"', "{}"]) {
  test(`Answer.IsUnreachableWhenTheBodyIs(${body})`, () => {
    assert.throws(() => readAnswer(body), Unreachable);
  });
}

test("WebApi.SendsTheTokenWithWhatChangesSomething", async () => {
  const sent = answering({ result: {} });
  const api = new WebApi();
  api.token = "secret";
  await api.post("Catalog", "rescan");
  assert.equal(sent[0]?.get("CrvnToken"), "secret");
});

test("WebApi.FetchesANewTokenOnceWhenItsOwnIsRefused", async () => {
  const sent = answering({ error: { code: 125 } }, { result: { token: "new" } }, { result: "opened" });
  const api = new WebApi();
  api.token = "old";
  assert.equal(await api.post("Stream", "open", { id: 1 }), "opened");
  assert.deepEqual(sent.map((call) => call.get("method")), ["open", "whoami", "open"]);
  assert.equal(sent[2]?.get("CrvnToken"), "new");
});

test("WebApi.GivesUpWhenTheNewTokenIsRefusedToo", async () => {
  answering({ error: { code: 125 } }, { result: { token: "new" } }, { error: { code: 125 } });
  const api = new WebApi();
  api.token = "old";
  await assert.rejects(api.post("Stream", "open", { id: 1 }), { code: 125 });
});

test("WebApi.TellsWhenTheSessionHasEnded", async () => {
  answering({ error: { code: 124 } });
  const api = new WebApi();
  let ended = 0;
  api.onSessionEnd = () => (ended += 1);
  await assert.rejects(api.get("Catalog", "list"), { code: 124 });
  assert.equal(ended, 1);
});

const kSignal = new AbortController().signal;

test("WebApi.GivesATextAsItIs", async () => {
  globalThis.fetch = async () => new Response("WEBVTT");
  assert.equal(await new WebApi().postText("Subtitle", "get", { id: 1 }, kSignal), "WEBVTT");
});

const kNoTexts: [number, string, object][] = [
  [404, '{"error":{"code":128,"message":""}}', { code: 128 }],
  [502, "<html>Bad gateway</html>", { message: "the answer is not the server's" }],
  [503, '{"error":{"code":129,"message":""}}', { message: "the server has too much to do" }],
];
for (const [status, body, error] of kNoTexts) {
  test(`WebApi.GivesNoTextWhenItIsRefused(${status})`, async () => {
    globalThis.fetch = async () => new Response(body, { status });
    await assert.rejects(new WebApi().postText("Subtitle", "get", { id: 1 }, kSignal), error);
  });
}

test("WebApi.IsUnreachableWhenNobodyAnswers", async () => {
  globalThis.fetch = () => Promise.reject(new TypeError("fetch failed"));
  await assert.rejects(new WebApi().get("Catalog", "list"), Unreachable);
});
