import assert from "node:assert/strict";
import { test } from "node:test";
import type { Film, FilmPage, Query } from "../src/catalog.ts";
import { FilmList, type Listing } from "../src/film_list.ts";

const film = (id: number) => ({ id, title: `Film ${id}` }) as Film;
const range = (from: number, to: number) => Array.from({ length: to - from }, (_, index) => film(from + index));
const ids = (listing: Listing | undefined) => listing?.films.map((one) => one.id);
const kAll: Query = { search: "", sort: "title" };

// A server whose answers are let go by hand.
class Server {
  films: Film[] = [];
  calls: { query: Query; offset: number; limit: number }[] = [];
  held: (() => void)[] | undefined;

  readonly fetchPage = async (query: Query, offset: number, limit: number): Promise<FilmPage> => {
    this.calls.push({ query, offset, limit });
    const found = this.films.filter((one) => one.title.includes(query.search));
    const page = { total: found.length, videos: found.slice(offset, offset + limit) };
    if (this.held) await new Promise<void>((resolve) => this.held?.push(resolve));
    return page;
  };
}

function make(films: Film[], page_size = 10) {
  const server = new Server();
  server.films = films;
  const seen: Listing[] = [];
  const list = new FilmList(server.fetchPage, (listing) => seen.push(listing), page_size);
  return { server, list, last: () => seen[seen.length - 1] };
}

test("FilmList.LoadsPageAfterPageUntilAllAreThere", async () => {
  const { server, list, last } = make(range(1, 26));
  await list.ask(kAll);
  await list.more();
  await list.more();
  await list.more();
  assert.deepEqual(ids(last()), range(1, 26).map((one) => one.id));
  assert.equal(server.calls.length, 3);
  assert.equal(list.complete, true);
});

test("FilmList.ShowsNoFilmTwiceWhenOneMovedDownMeanwhile", async () => {
  const { server, list, last } = make(range(1, 21));
  await list.ask(kAll);
  server.films = [film(99), ...server.films];
  await list.more();
  assert.deepEqual(ids(last()), range(1, 20).map((one) => one.id));
});

test("FilmList.EndsWhenTheServerHasNoMoreWhateverItsTotalSaid", async () => {
  const { server, list } = make(range(1, 21));
  await list.ask(kAll);
  server.films = server.films.slice(0, 10);
  await list.more();
  assert.equal(list.complete, true);
});

test("FilmList.DropsTheAnswerToAnOlderQuestion", async () => {
  const { server, list, last } = make(range(1, 21));
  server.held = [];
  const old = list.ask(kAll);
  const held = server.held;
  server.held = undefined;
  await list.ask({ search: "Film 20", sort: "title" });
  held.forEach((letGo) => letGo());
  await old;
  assert.deepEqual(ids(last()), [20]);
});

test("FilmList.RefreshesAsManyFilmsAsWereLoaded", async () => {
  const { server, list, last } = make(range(1, 31));
  await list.ask(kAll);
  await list.more();
  server.films = [film(99), ...server.films.filter((one) => one.id !== 2)];
  await list.refresh();
  assert.deepEqual(ids(last()), [99, 1, ...range(3, 21).map((one) => one.id)]);
});

test("FilmList.RefreshesLongListsInSeveralAnswers", async () => {
  const { server, list, last } = make(range(1, 2501), 1000);
  await list.ask(kAll);
  await list.more();
  await list.more();
  server.calls = [];
  await list.refresh();
  assert.deepEqual(server.calls.map((call) => [call.offset, call.limit]), [[0, 1000], [1000, 1000], [2000, 500]]);
  assert.equal(last()?.films.length, 2500);
});

test("FilmList.KeepsItsFilmsWhenALoadFailsAndSaysSo", async () => {
  const { server, list, last } = make(range(1, 21));
  await list.ask(kAll);
  const failure = new Error("gone");
  const list_again = server.fetchPage;
  Object.assign(list, { fetchPage: () => Promise.reject(failure) });
  await list.more();
  assert.equal(last()?.failure, failure);
  assert.equal(last()?.films.length, 10);
  Object.assign(list, { fetchPage: list_again });
  await list.refresh();
  assert.equal(last()?.failure, undefined);
});

test("FilmList.AsksOnceWhenMoreIsWantedTwice", async () => {
  const { server, list } = make(range(1, 31));
  await list.ask(kAll);
  await Promise.all([list.more(), list.more()]);
  assert.equal(server.calls.length, 2);
});
